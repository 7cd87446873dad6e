#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "recording/KTRVideoStreamRecordSession.h"
#include "tests/load/LoadClip.h"

/**
 * Cameras that send in real time, one record session each, streams 0 and up of the recorder
 * "load". Their clocks stand at noon of today when they begin, whatever the time of day.
 *
 * Owns: the sessions, and the thread that feeds them.
 * Blocks: stop() until all that was sent is stored.
 */
class LoadRecording {
 public:
  LoadRecording(const LoadClip& clip, const std::string& directory, unsigned int streams);
  LoadRecording(const LoadRecording&) = delete;
  LoadRecording& operator=(const LoadRecording&) = delete;
  ~LoadRecording();

  /** Noon of today, seconds since the epoch: the time of frame 0 of every stream. */
  [[nodiscard]] long startTime() const { return start_; }
  /** Ends the feeding, then the sessions. */
  void stop();
  /** Frames that each stream was sent; what was not taken, or not stored, is a flaw. */
  [[nodiscard]] unsigned int sent(unsigned int stream) const { return sent_[stream]; }
  [[nodiscard]] unsigned int longestQueue() const { return longestQueue_; }
  /** What went wrong, one line each. */
  [[nodiscard]] const std::vector<std::string>& flaws() const { return flaws_; }

 private:
  void feed();
  void feedAll(unsigned int tick);

  const LoadClip& clip_;
  const long start_;
  std::vector<std::unique_ptr<KTRVideoStreamRecordSession>> sessions_;
  std::vector<unsigned int> sent_;
  unsigned int longestQueue_ = 0;
  std::vector<std::string> flaws_;
  std::atomic<bool> stop_{false};
  std::thread feeder_;
};

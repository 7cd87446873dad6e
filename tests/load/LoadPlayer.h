#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "playback/KTRVideoStreamReadSession.h"
#include "tests/load/LoadClip.h"

/**
 * Follows one stream of the recorder "load" as it is recorded, and holds every frame against what
 * was sent: none is missing but those that retention has deleted.
 *
 * Owns: its thread, once start() was called.
 * Threads: constructed, started and stopped by one thread.
 */
class LoadPlayer {
 public:
  /** startTime is that of the stream's frame 0, from that of the first frame to be played. */
  LoadPlayer(const LoadClip& clip, unsigned int stream, long startTime, long from)
      : clip_(clip),
        stream_(stream),
        startTime_(startTime),
        next_(static_cast<unsigned int>(from - startTime) * LoadClip::FRAME_RATE) {}
  LoadPlayer(const LoadPlayer&) = delete;
  LoadPlayer& operator=(const LoadPlayer&) = delete;
  ~LoadPlayer() { stop(); }

  void start();
  void stop();
  /** Plays what is there now, on the caller's thread. */
  void playOn();

  /** The number of the frame that is to come next. */
  [[nodiscard]] unsigned int next() const { return next_; }
  [[nodiscard]] unsigned int played() const { return played_; }
  /** The first thing that was wrong; empty when nothing was. */
  [[nodiscard]] const std::string& flaw() const { return flaw_; }

 private:
  [[nodiscard]] bool load(KTRStreamReadSession& session) const;
  [[nodiscard]] bool take(const KTDataBlock& frame);
  [[nodiscard]] bool isDeleted(unsigned int number) const;
  [[nodiscard]] long timeOf(unsigned int number) const {
    return startTime_ + static_cast<long>(number / LoadClip::FRAME_RATE);
  }

  const LoadClip& clip_;
  const unsigned int stream_;
  const long startTime_;
  unsigned int next_;
  unsigned int played_ = 0;
  long stepBack_ = 0;  // seconds
  std::string flaw_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "host/bench/Latencies.h"
#include "host/play/RecordingReader.h"

/**
 * Plays a stream from its beginning while it is recorded: reads what is on disk, waits a while and
 * looks again.
 *
 * Owns: its thread.
 * Threads: made, finished and asked by one thread; asked only when it is finished.
 * Blocks: finish() until the last frame that is on disk was played.
 */
class FollowingPlayer {
 public:
  /** Begins at once; start is the time of the first frame, seconds since the epoch. */
  FollowingPlayer(const std::string& recorder, unsigned char stream, long start,
                  std::chrono::milliseconds pause);
  FollowingPlayer(const FollowingPlayer&) = delete;
  FollowingPlayer& operator=(const FollowingPlayer&) = delete;
  ~FollowingPlayer();

  /** Plays the rest of a recording that has ended, and ends the thread. */
  void finish();

  [[nodiscard]] std::uint64_t frames() const { return frames_; }
  [[nodiscard]] std::uint64_t bytes() const { return bytes_; }
  /** Frames that did not come one frame's time behind the one before. */
  [[nodiscard]] std::uint64_t displaced() const { return displaced_; }
  /** Of the reading of single frames. */
  [[nodiscard]] const Latencies& latencies() const { return latencies_; }

 private:
  void follow();
  void playOn();
  [[nodiscard]] bool more();

  const long start_;
  const std::chrono::milliseconds pause_;
  RecordingReader reader_;
  bool found_ = false;
  std::int64_t lastMs_ = 0;
  std::uint64_t frames_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t displaced_ = 0;
  Latencies latencies_;
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

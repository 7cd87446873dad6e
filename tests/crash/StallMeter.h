#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

/**
 * Measures by how much this machine lets a thread sleep too long, for promises that hold for a
 * machine that runs its programs in time.
 *
 * Owns: its thread.
 * Threads: any thread.
 */
class StallMeter {
 public:
  StallMeter();
  StallMeter(const StallMeter&) = delete;
  StallMeter& operator=(const StallMeter&) = delete;
  ~StallMeter();

  /** The longest so far, since the object was made. */
  [[nodiscard]] std::int64_t longestMs() const { return longestMs_; }

 private:
  void run();

  std::atomic<bool> stop_{false};
  std::atomic<std::int64_t> longestMs_{0};
  std::thread thread_;
};

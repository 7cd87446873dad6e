#pragma once

#include <cstdint>

#include "host/media/MediaStop.h"
#include "runtime/KTClock.h"

/**
 * Holds the frames of a file back until they are due, counted from the first one.
 *
 * Owns: nothing; the stop request must outlive it.
 * Threads: wait() from one thread; a stop may be requested from any thread.
 * Blocks: wait() sleeps on KTClock until the frame is due, in steps short enough that a stop is
 *   seen at once.
 * Units: microseconds.
 */
class MediaPacer {
 public:
  /** The longest single sleep. */
  static constexpr KTClock::Span STEP{20'000};

  explicit MediaPacer(const MediaStop& stop) : stop_(stop) {}

  /** Waits until the frame is due; false when a stop was requested instead. */
  [[nodiscard]] bool wait(std::int64_t dtsUs);

 private:
  const MediaStop& stop_;
  bool started_ = false;
  KTClock::Span start_{0};  // the clock's time at which dts 0 is due
};

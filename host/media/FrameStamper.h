#pragma once

#include <cstdint>

/**
 * Turns the decoding times of one stream into frame stamps: milliseconds since 00:00 UTC of the
 * gateway's clock. The first frame is stamped with the wall clock; from there the stream's own
 * clock counts, so that the distances of frames are exact. Where the two clocks have drifted apart
 * by more than MAX_DRIFT_MS (a camera's clock runs fast or slow, the source paused), the next key
 * frame is stamped with the wall clock again.
 *
 * Stamps rise by at least 1 ms from frame to frame and start again at 0 at midnight. A stream that
 * has run ahead therefore waits for the wall clock in steps of 1 ms. One exception: when the wall
 * clock itself was put back, which the monotonic clock tells, or the stream is ahead by more than
 * MAX_HOLD_MS, waiting would squeeze all that time into nothing, and the stamps go back at the next
 * key frame.
 *
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class FrameStamper {
 public:
  static constexpr std::int64_t MAX_DRIFT_MS = 2'000;
  static constexpr std::int64_t MAX_HOLD_MS = 10'000;
  static constexpr std::int64_t DAY_MS = 86'400'000;

  /** The stamp of the next frame in decoding order; dtsMs is on a timeline that only rises. */
  [[nodiscard]] std::uint32_t stamp(std::int64_t dtsMs, bool key);
  /** Whether a frame has its stamp. */
  [[nodiscard]] bool started() const { return started_; }
  /** The time of the frame that was stamped last, milliseconds since the epoch. */
  [[nodiscard]] std::int64_t timeMs() const { return lastMs_; }
  /** Whether that frame lies before the one that was stamped before it. */
  [[nodiscard]] bool wentBack() const { return wentBack_; }
  /**
   * The time, microseconds since the epoch, of a moment on the timeline of the frames: of sound
   * that goes with them.
   */
  [[nodiscard]] std::int64_t clockUs(std::int64_t timelineUs) const {
    return timelineUs + offsetMs_ * 1000;
  }

 private:
  void anchor(std::int64_t wallMs, std::int64_t dtsMs);

  bool started_ = false;
  bool wentBack_ = false;
  std::int64_t clockMs_ = 0;   // wall clock minus monotonic clock, as of the last anchor
  std::int64_t offsetMs_ = 0;  // wall clock minus the stream's clock
  std::int64_t lastMs_ = 0;    // since the epoch
};

#pragma once

#include <cstdint>
#include <optional>

/**
 * Turns the time stamps of a source into a timeline that never stops and never runs backwards:
 * missing stamps are filled in from the frame rate, a stamp that is a little out of order is put
 * behind the one before, and where the source's clock jumps (a file that begins again, a camera
 * that was restarted) the timeline goes on one frame after the last one.
 *
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: microseconds.
 */
class MediaTimeline {
 public:
  using Stamp = std::optional<std::int64_t>;

  struct Times {
    std::int64_t dtsUs;
    std::int64_t ptsUs;  // never before dtsUs
    bool jumped;         // the source's clock jumped in front of this frame
  };

  /** A longer pause between two frames is a jump. */
  static constexpr std::int64_t MAX_PAUSE_US = 10'000'000;
  /** A stamp that lies further behind the one before is a jump. */
  static constexpr std::int64_t MAX_DISORDER_US = 1'000'000;
  /** The least distance of two frames: stored stamps count milliseconds. */
  static constexpr std::int64_t LEAST_STEP_US = 1'000;

  /** reorderFrames: how many frames at most are decoded before one that is shown earlier. */
  MediaTimeline(std::int64_t frameUs, unsigned int reorderFrames)
      : frameUs_(frameUs), reorderFrames_(reorderFrames) {}

  /** The place of the next frame in decoding order, from the stamps that the source has for it. */
  [[nodiscard]] Times place(Stamp dtsUs, Stamp ptsUs);

  /** Whether a frame has its place. */
  [[nodiscard]] bool started() const { return started_; }
  /** The last frame's place, decoding time. */
  [[nodiscard]] std::int64_t placedUs() const { return placedUs_; }
  /** Timeline minus source, as of the last frame. */
  [[nodiscard]] std::int64_t offsetUs() const { return offsetUs_; }
  /** Whether a clock that went from one time to the next has jumped. */
  [[nodiscard]] static bool isJump(std::int64_t fromUs, std::int64_t toUs) {
    return toUs - fromUs > MAX_PAUSE_US || toUs - fromUs < -MAX_DISORDER_US;
  }

 private:
  [[nodiscard]] std::int64_t decodingTime(Stamp dtsUs, Stamp ptsUs) const;

  std::int64_t frameUs_;
  unsigned int reorderFrames_;
  bool started_ = false;
  std::int64_t sourceUs_ = 0;  // the last frame's dts as the source counts
  std::int64_t placedUs_ = 0;  // the last frame's dts on the timeline
  std::int64_t offsetUs_ = 0;  // timeline minus source
};

#pragma once

#include <cstdint>
#include <optional>

#include "host/media/MediaTimeline.h"

/**
 * Puts the packets of a source's sound onto the timeline of its pictures, so that both stay in
 * step. Where the source's clock jumps, the sound waits until the pictures have jumped too and goes
 * on beside them; a clock that only the sound has changed is set to the picture of the moment.
 * Times that a container has rounded are made even again.
 *
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: microseconds.
 */
class AudioTimeline {
 public:
  using Stamp = MediaTimeline::Stamp;

  /** What containers round by at most: a packet this near to the end of the last one follows it. */
  static constexpr std::int64_t MAX_ROUNDING_US = 2'000;
  /** After a jump, sound this near to the picture belongs to it. */
  static constexpr std::int64_t MAX_SKEW_US = 1'500'000;
  /** So much of the pictures passes before the sound is set to the picture of the moment. */
  static constexpr std::int64_t MAX_SEARCH_US = 2'000'000;

  /**
   * The place of the next packet beside the picture that was placed last; nothing when it has none.
   * At least one picture has been placed.
   */
  [[nodiscard]] std::optional<std::int64_t> place(Stamp stampUs, std::int64_t durationUs,
                                                  const MediaTimeline& pictures);

 private:
  [[nodiscard]] bool findAgain(const MediaTimeline& pictures);

  bool started_ = false;
  bool lost_ = false;             // the clock jumped, the place is not found again yet
  std::int64_t lostSinceUs_ = 0;  // the picture of that moment
  std::int64_t sourceUs_ = 0;     // the last packet's time as the source counts
  std::int64_t sourceEndUs_ = 0;  // and where it ends
  std::int64_t endUs_ = 0;        // end of the last packet on the timeline
  std::int64_t offsetUs_ = 0;     // timeline minus source
};

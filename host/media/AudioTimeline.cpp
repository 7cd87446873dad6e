#include "host/media/AudioTimeline.h"

#include <cstdlib>

std::optional<std::int64_t> AudioTimeline::place(Stamp stampUs, std::int64_t durationUs,
                                                 const MediaTimeline& pictures) {
  const std::int64_t first = pictures.placedUs() - pictures.offsetUs();
  const std::int64_t before = sourceUs_;
  sourceUs_ = stampUs.value_or(started_ ? sourceEndUs_ : first);
  sourceEndUs_ = sourceUs_ + durationUs;
  if (!started_) {
    offsetUs_ = pictures.offsetUs();
    endUs_ = sourceUs_ + offsetUs_;
    started_ = true;
  } else if (MediaTimeline::isJump(before, sourceUs_)) {
    lost_ = true;
    lostSinceUs_ = pictures.placedUs();
  }
  if (lost_ && !findAgain(pictures)) return std::nullopt;
  std::int64_t placed = sourceUs_ + offsetUs_;
  if (std::llabs(placed - endUs_) <= MAX_ROUNDING_US) placed = endUs_;
  endUs_ = placed + durationUs;
  return placed;
}

bool AudioTimeline::findAgain(const MediaTimeline& pictures) {
  const std::int64_t beside = sourceUs_ + pictures.offsetUs();
  const bool belongs = std::llabs(beside - pictures.placedUs()) <= MAX_SKEW_US;
  const bool givenUp = pictures.placedUs() - lostSinceUs_ >= MAX_SEARCH_US;
  if (!belongs && !givenUp) return false;
  offsetUs_ = belongs ? pictures.offsetUs() : pictures.placedUs() - sourceUs_;
  lost_ = false;
  return true;
}

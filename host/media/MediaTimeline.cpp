#include "host/media/MediaTimeline.h"

#include <algorithm>

MediaTimeline::Times MediaTimeline::place(Stamp dtsUs, Stamp ptsUs) {
  const std::int64_t dts = decodingTime(dtsUs, ptsUs);
  const bool jumped = started_ && isJump(sourceUs_, dts);
  if (jumped) offsetUs_ = placedUs_ + frameUs_ - dts;
  const std::int64_t wanted = dts + offsetUs_;
  placedUs_ = started_ ? std::max(wanted, placedUs_ + LEAST_STEP_US) : wanted;
  sourceUs_ = dts;
  started_ = true;
  return {placedUs_, std::max(ptsUs.value_or(dts) + offsetUs_, placedUs_), jumped};
}

std::int64_t MediaTimeline::decodingTime(Stamp dtsUs, Stamp ptsUs) const {
  if (dtsUs) return *dtsUs;
  const std::int64_t next = started_ ? sourceUs_ + frameUs_ : 0;
  if (!ptsUs) return next;
  const std::int64_t earliest = *ptsUs - reorderFrames_ * frameUs_;
  const bool plausible = started_ && next <= *ptsUs && next + MAX_DISORDER_US >= earliest;
  return plausible ? next : earliest;
}

#include "host/media/FrameStamper.h"

#include <algorithm>
#include <cstdlib>

#include "runtime/KTTimeValue.h"

namespace {

std::int64_t wallClockMs() {
  const KTTimeValue now = KTTimeValue::now();
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

}  // namespace

std::uint32_t FrameStamper::stamp(std::int64_t dtsMs, bool key) {
  const std::int64_t wallMs = wallClockMs();
  const bool drifted = std::llabs(dtsMs + offsetMs_ - wallMs) > MAX_DRIFT_MS;
  if (!started_ || (key && drifted)) anchor(wallMs, dtsMs);
  lastMs_ = std::max(dtsMs + offsetMs_, lastMs_ + 1);
  return static_cast<std::uint32_t>(lastMs_ % DAY_MS);
}

void FrameStamper::anchor(std::int64_t wallMs, std::int64_t dtsMs) {
  if (!started_ || lastMs_ - wallMs > MAX_HOLD_MS) lastMs_ = wallMs - 1;
  offsetMs_ = wallMs - dtsMs;
  started_ = true;
}

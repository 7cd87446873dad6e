#include "host/media/FrameStamper.h"

#include <algorithm>
#include <cstdlib>

#include "host/media/SteadyClock.h"

namespace {

std::int64_t wallClockMs() {
  const KTTimeValue now = SteadyClock::wall();
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

std::int64_t monotonicMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(KTClock::instance()->elapsed())
      .count();
}

}  // namespace

std::uint32_t FrameStamper::stamp(std::int64_t dtsMs, bool key) {
  const std::int64_t wallMs = wallClockMs();
  const bool drifted = std::llabs(dtsMs + offsetMs_ - wallMs) > MAX_DRIFT_MS;
  const std::int64_t before = lastMs_;
  if (!started_ || (key && drifted)) anchor(wallMs, dtsMs);
  lastMs_ = std::max(dtsMs + offsetMs_, lastMs_ + 1);
  wentBack_ = lastMs_ <= before;
  return static_cast<std::uint32_t>(lastMs_ % DAY_MS);
}

void FrameStamper::anchor(std::int64_t wallMs, std::int64_t dtsMs) {
  const std::int64_t clockMs = wallMs - monotonicMs();
  const bool putBack = clockMs_ - clockMs > MAX_DRIFT_MS;
  if (!started_ || putBack || lastMs_ - wallMs > MAX_HOLD_MS) lastMs_ = wallMs - 1;
  clockMs_ = clockMs;
  offsetMs_ = wallMs - dtsMs;
  started_ = true;
}

#include "host/bench/FrameClock.h"

FrameClock::FrameClock() : FrameClock(static_cast<long>(KTTimeValue::now().tv_sec)) {}

FrameClock::FrameClock(long beginning) : below_(KTClock::instance()), beginning_(beginning) {
  KTClock::install(this);
}

FrameClock::~FrameClock() {
  KTClock::install(below_);
}

KTTimeValue FrameClock::now() {
  const std::int64_t passed = passedMs_.load(std::memory_order_relaxed);
  return KTTimeValue(beginning_ + static_cast<long>(passed / 1000),
                     static_cast<long>(passed % 1000) * 1000);
}

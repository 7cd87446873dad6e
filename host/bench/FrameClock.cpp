#include "host/bench/FrameClock.h"

FrameClock::FrameClock()
    : below_(KTClock::instance()), beginning_(static_cast<long>(below_->now().tv_sec)) {
  KTClock::install(this);
}

FrameClock::~FrameClock() {
  KTClock::install(below_);
}

KTTimeValue FrameClock::now() {
  const std::int64_t passed = passedMs_;
  return KTTimeValue(beginning_ + static_cast<long>(passed / 1000),
                     static_cast<long>(passed % 1000) * 1000);
}

#include "host/media/SteadyClock.h"

#include <atomic>

namespace {

constexpr KTClock::Span::rep PER_SECOND = 1'000'000;

std::atomic<KTClock*> belowSteady{nullptr};

KTClock::Span spanOf(const KTTimeValue& time) {
  return std::chrono::seconds(time.tv_sec) + KTClock::Span(time.tv_usec);
}

}  // namespace

SteadyClock::SteadyClock()
    : below_(KTClock::instance()), offset_(spanOf(below_->now()) - below_->elapsed()) {
  belowSteady = below_;
  install(this);
}

SteadyClock::~SteadyClock() {
  install(below_);
  belowSteady = nullptr;
}

KTTimeValue SteadyClock::wall() {
  KTClock* const below = belowSteady;
  return below == nullptr ? KTTimeValue::now() : below->now();
}

KTTimeValue SteadyClock::now() {
  const Span::rep time = (offset_ + below_->elapsed()).count();
  return KTTimeValue(static_cast<long>(time / PER_SECOND), static_cast<long>(time % PER_SECOND));
}

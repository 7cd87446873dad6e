#include "host/play/StampUnwrapper.h"

void StampUnwrapper::restart(std::int64_t baseSeconds) {
  base_ = baseSeconds * 1000;
  started_ = false;
}

std::int64_t StampUnwrapper::unwrap(std::uint32_t stampMs) {
  if (!started_) {
    const std::int64_t timeOfDay = base_ % DAY_MS;
    last_ = base_ - timeOfDay + stampMs + (timeOfDay > stampMs ? DAY_MS : 0);
    started_ = true;
    return last_;
  }
  std::int64_t step = (stampMs - last_ % DAY_MS) % DAY_MS;
  if (step > DAY_MS / 2) step -= DAY_MS;
  if (step < -DAY_MS / 2) step += DAY_MS;
  return last_ += step;
}

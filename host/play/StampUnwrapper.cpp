#include "host/play/StampUnwrapper.h"

std::int64_t StampUnwrapper::unwrap(std::uint32_t stampMs) {
  std::int64_t step = (stampMs - last_ % DAY_MS) % DAY_MS;
  if (step > DAY_MS / 2) step -= DAY_MS;
  if (step < -DAY_MS / 2) step += DAY_MS;
  return last_ += step;
}

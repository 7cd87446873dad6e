#include "runtime/KTTimeValue.h"

#include <ctime>
#include <limits>

#include "runtime/KTClock.h"
#include "runtime/LoadOrder.h"

namespace {
constexpr long MICROSECONDS = 1000000;
}

KTR_LOAD_STRINGS const KTTimeValue KTTimeValue::Unlimited(std::numeric_limits<long>::max(), 0);

KTTimeValue::KTTimeValue(long sec, long usec) : timeval{} {
  tv_sec = sec;
  tv_usec = usec;
}

KTTimeValue::~KTTimeValue() = default;

KTTimeValue KTTimeValue::now() {
  return KTClock::instance()->now();
}

KTTimeValue KTTimeValue::operator-(const KTTimeValue& other) const {
  const bool borrow = tv_usec < other.tv_usec;
  return KTTimeValue(tv_sec - other.tv_sec - (borrow ? 1 : 0),
                     tv_usec - other.tv_usec + (borrow ? MICROSECONDS : 0));
}

KTString KTTimeValue::asString(const KTString& fmt) const {
  const time_t seconds = tv_sec;
  struct tm local {};
  localtime_r(&seconds, &local);
  char text[256];
  const size_t length = std::strftime(text, sizeof text, fmt.c_str(), &local);
  return KTString(text, static_cast<unsigned int>(length));
}

#include "runtime/KTTimeValue.h"

#include <ctime>
#include <limits>
#include <string>
#include <utility>

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
  std::string text(64 + fmt.length() * 32, '\0');  // more than any conversion yields per byte
  text.resize(std::strftime(text.data(), text.size(), fmt.c_str(), &local));
  return KTString(std::move(text));
}

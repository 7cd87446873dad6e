#include "host/media/MediaPacer.h"

#include <algorithm>

bool MediaPacer::wait(std::int64_t dtsUs) {
  KTClock* const clock = KTClock::instance();
  const KTClock::Span dts(dtsUs);
  if (!started_) start_ = clock->elapsed() - dts;
  started_ = true;
  while (!stop_.requested()) {
    const KTClock::Span left = start_ + dts - clock->elapsed();
    if (left <= KTClock::Span(0)) return true;
    clock->sleep(KTTimeValue(0, static_cast<long>(std::min(left, STEP).count())));
  }
  return false;
}

#pragma once

#include <sys/time.h>

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * A point in time (seconds since the Unix epoch) or a duration, with microseconds in 0..999999. A
 * plain value without virtual operations, laid out as a timeval.
 *
 * Threads: now() from any thread; an object by one thread at a time.
 * Blocks: never.
 */
class KTR_API KTTimeValue : public timeval {
 public:
  /** Passed as a time-out: wait for ever. */
  static const KTTimeValue Unlimited;

  explicit KTTimeValue(long sec = 0, long usec = 0);
  KTTimeValue(const KTTimeValue&) = default;
  KTTimeValue& operator=(const KTTimeValue&) = default;

  /** The wall clock, as KTClock::instance() tells it. */
  [[nodiscard]] static KTTimeValue now();

  [[nodiscard]] KTTimeValue operator-(const KTTimeValue& other) const;
  [[nodiscard]] bool operator==(const KTTimeValue& other) const {
    return tv_sec == other.tv_sec && tv_usec == other.tv_usec;
  }
  /** Local time in strftime conversions; empty when fmt yields nothing. */
  [[nodiscard]] KTString asString(const KTString& fmt) const;
};

#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"

/** A time value with a virtual destructor, the base of time values that carry more. One thread at
 * a time. */
class KTR_API KTRTimeValue : public KTTimeValue {
 public:
  using KTTimeValue::KTTimeValue;
  KTRTimeValue(const KTRTimeValue&) = default;
  KTRTimeValue& operator=(const KTRTimeValue&) = default;
  virtual ~KTRTimeValue();
};

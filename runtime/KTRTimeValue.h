#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"

/** A time value that may be destroyed through a base pointer. One thread at a time. */
class KTR_API KTRTimeValue : public KTTimeValue {
 public:
  using KTTimeValue::KTTimeValue;
  ~KTRTimeValue() override;
};

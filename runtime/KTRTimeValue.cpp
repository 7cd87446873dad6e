#include "runtime/KTRTimeValue.h"

KTRTimeValue::~KTRTimeValue() = default;

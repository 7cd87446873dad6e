#pragma once

#include <memory>

#include "runtime/KTLogSink.h"

/** The default sink: time-stamped lines on standard error. */
[[nodiscard]] std::shared_ptr<KTLogSink> makeSpdlogSink();

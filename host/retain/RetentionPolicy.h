#pragma once

#include <cstdint>
#include <optional>

#include "host/retain/FreeFloor.h"

/**
 * What a recorder keeps: up to a number of bytes, up to an age, with a part of the file system left
 * free; and, before all of these, everything younger than a least age. A value.
 */
struct RetentionPolicy {
  std::optional<uint64_t> maxBytes;
  std::optional<long> maxAge;  ///< seconds
  FreeFloor minFree;
  long keepAtLeast = 0;  ///< seconds
};

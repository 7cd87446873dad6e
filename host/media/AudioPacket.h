#pragma once

#include <cstdint>

#include "runtime/KTDataBlock.h"

/** One packet of sound: what a decoder takes at once. A value; one thread at a time. */
struct AudioPacket {
  KTDataBlock bytes;
  std::int64_t timeUs = 0;
  std::int64_t durationUs = 0;

  [[nodiscard]] std::int64_t endUs() const { return timeUs + durationUs; }
};

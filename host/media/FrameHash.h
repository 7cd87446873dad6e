#pragma once

#include <cstdint>

#include "runtime/KTDataBlock.h"

/** FNV-1a of a frame's bytes: to tell frames of one time apart, not to keep. Any thread. */
[[nodiscard]] inline std::uint64_t frameHash(const KTDataBlock& frame) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (unsigned int i = 0; i < frame.size; ++i) hash = (hash ^ frame.data[i]) * 0x100000001B3;
  return hash;
}

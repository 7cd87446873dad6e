#pragma once

#include <cstdint>

#include "host/media/NalUnits.h"

/**
 * One picture as it comes from a MediaInput. The bytes are borrowed: they hold until the next read.
 * Put together, `lead`, `parameterSets` and `bytes` are the picture as it is to be stored; for a
 * key frame of H.264 and H.265 that begins with the parameter sets (and, where the stream has one,
 * the access unit delimiter before them).
 */
struct AccessUnit {
  MediaBytes lead;           // an access unit delimiter that must stay in front of added sets
  MediaBytes parameterSets;  // sets that were added, empty when `bytes` has its own
  MediaBytes bytes;

  bool key = false;     // a decoder can begin here; true for every JPEG picture
  bool jumped = false;  // the source's clock jumped in front of this picture
  std::int64_t dtsUs = 0;
  std::int64_t ptsUs = 0;

  /** Rounds to the nearest millisecond. */
  [[nodiscard]] static std::int64_t toMs(std::int64_t us) {
    return (us >= 0 ? us + 500 : us - 499) / 1000;
  }
  /** Decoding time in milliseconds. */
  [[nodiscard]] std::int64_t dtsMs() const { return toMs(dtsUs); }
  /** Presentation minus decoding time, such that both are exact to the millisecond. */
  [[nodiscard]] std::int32_t compositionOffsetMs() const {
    return static_cast<std::int32_t>(toMs(ptsUs) - dtsMs());
  }
  [[nodiscard]] size_t size() const { return lead.size() + parameterSets.size() + bytes.size(); }
};

#pragma once

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "host/media/NalUnits.h"

/**
 * The parameter sets of one H.264 or H.265 stream, the latest of each kind and number, so that
 * every key frame can be stored with all that a decoder needs to begin there.
 *
 * Owns: copies of the sets.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: none; what is no parameter set is passed over.
 */
class ParameterSets {
 public:
  /** What stands in front of the picture of an access unit. */
  struct Lead {
    /** At least one set of every kind that the codec has. */
    bool complete = false;
    /** Bytes of the access unit delimiter that the unit begins with: it must stay in front. */
    size_t delimiterSize = 0;
  };

  explicit ParameterSets(MediaCodec codec) : codec_(codec) {}

  /** Remembers the sets of an Annex B access unit (or of Annex B extradata). */
  Lead remember(MediaBytes annexB);
  /** All sets that are remembered as Annex B, VPS before SPS before PPS. */
  [[nodiscard]] const std::vector<unsigned char>& annexB() const { return annexB_; }

 private:
  using Key = std::pair<NalKind, unsigned int>;

  void keep(NalKind kind, MediaBytes unit);

  MediaCodec codec_;
  std::map<Key, std::vector<unsigned char>> sets_;
  std::vector<unsigned char> annexB_;
};

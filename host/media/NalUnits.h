#pragma once

#include <cstddef>
#include <span>

#include "host/media/MediaCodec.h"

using MediaBytes = std::span<const unsigned char>;

/** What a NAL unit is, as far as storing it depends on that. Parameter sets in decoding order. */
enum class NalKind { Vps, Sps, Pps, Delimiter, Picture, Other };

/**
 * Walks the NAL units of an Annex B byte stream.
 *
 * Owns: nothing; the bytes must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: bytes before the first start code are passed over.
 */
class NalUnits {
 public:
  explicit NalUnits(MediaBytes annexB);

  /** Moves to the next NAL unit; false when there is none. */
  [[nodiscard]] bool next();
  /** The current unit without its start code; never empty after next() was true. */
  [[nodiscard]] MediaBytes unit();
  /** The kind of the current unit, whose end is not looked for. */
  [[nodiscard]] NalKind kind(MediaCodec codec) const {
    return kindOf(codec, bytes_.subspan(begin_));
  }
  /** The kind of a NAL unit of H.264 or H.265. */
  [[nodiscard]] static NalKind kindOf(MediaCodec codec, MediaBytes unit);

 private:
  [[nodiscard]] size_t findStartCode(size_t from) const;
  [[nodiscard]] size_t nextStart();

  MediaBytes bytes_;
  static constexpr size_t UNKNOWN = static_cast<size_t>(-1);

  size_t begin_ = 0;
  size_t nextStart_;  // of the unit behind the current one, once somebody has asked
};

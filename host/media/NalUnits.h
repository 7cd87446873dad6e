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
  [[nodiscard]] MediaBytes unit() const { return bytes_.subspan(begin_, end_ - begin_); }
  /** The kind of a NAL unit of H.264 or H.265. */
  [[nodiscard]] static NalKind kindOf(MediaCodec codec, MediaBytes unit);

 private:
  [[nodiscard]] size_t findStartCode(size_t from) const;

  MediaBytes bytes_;
  size_t begin_ = 0;
  size_t end_ = 0;
  size_t nextStart_ = 0;
};

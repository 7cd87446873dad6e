#pragma once

#include <cstdint>
#include <memory>

#include "host/media/NalUnits.h"

/**
 * Finds when the pictures of a raw H.264 or H.265 stream are shown. Such a stream has no time
 * stamps; its pictures are in decoding order and each carries its place in the order of showing.
 *
 * Owns: a parser of libav.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: places and delays in frames.
 */
class PictureOrder {
 public:
  /** reorderFrames: how many frames at most are decoded before one that is shown earlier. */
  PictureOrder(MediaCodec codec, unsigned int reorderFrames);
  PictureOrder(const PictureOrder&) = delete;
  PictureOrder& operator=(const PictureOrder&) = delete;
  ~PictureOrder();

  /** How many frames after its decoding the picture of the next access unit is shown. */
  [[nodiscard]] std::int64_t delayOf(MediaBytes annexB);

 private:
  struct Parser;

  [[nodiscard]] std::int64_t placeOf(MediaBytes annexB);

  std::unique_ptr<Parser> parser_;
  unsigned int reorderFrames_;
  std::int64_t placeStep_;
  std::int64_t decoded_ = 0;  // frames decoded since the order began anew
};

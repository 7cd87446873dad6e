#pragma once

#include <cstdint>
#include <vector>

#include "host/media/PictureEncoder.h"
#include "runtime/KTDataBlock.h"

/**
 * Real H.264 of 4 Mbit/s and 25 frames a second without end: some seconds of it are encoded once
 * and repeated, each frame with the stamp of its own time.
 *
 * Owns: the encoded pictures.
 * Threads: any thread once it is made.
 * Blocks: the constructor, for the encoder: about a second.
 * Units: milliseconds since midnight.
 */
class BenchClip {
 public:
  static constexpr unsigned int FRAME_RATE = 25;
  static constexpr unsigned int FRAME_MS = 1000 / FRAME_RATE;
  static constexpr unsigned int BIT_RATE = 4'000'000;
  /** One key frame a second. */
  static constexpr unsigned int KEY_INTERVAL = FRAME_RATE;

  BenchClip();

  /** Frame number of a stream as a record session takes it; its bytes are copied once. */
  [[nodiscard]] KTDataBlock frame(std::uint64_t number, std::uint32_t stampMs) const;
  /** The bytes of the picture of that frame, as they come from a camera. */
  [[nodiscard]] const PictureEncoder::Picture& picture(std::uint64_t number) const {
    return pictures_[number % pictures_.size()];
  }
  [[nodiscard]] static bool isKey(std::uint64_t number) { return number % KEY_INTERVAL == 0; }
  /**
   * Rows that the index holds of a stream of that many frames: a key frame's is written when the
   * next key frame comes, so that the last has none.
   */
  [[nodiscard]] static std::uint64_t indexRows(std::uint64_t frames) {
    return frames == 0 ? 0 : (frames - 1) / KEY_INTERVAL;
  }
  /** Bytes of that many frames from the first on, as blocks for a session. */
  [[nodiscard]] std::uint64_t bytes(std::uint64_t frames) const;

 private:
  std::vector<PictureEncoder::Picture> pictures_;
};

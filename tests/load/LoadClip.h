#pragma once

#include <optional>
#include <string>
#include <vector>

#include "runtime/KTDataBlock.h"

/**
 * Pictures of a real H.264 clip, which every camera sends over and over: frame n of a stream is the
 * same bytes whenever it is asked for, so that what is played can be held against what was sent.
 *
 * Threads: any thread.
 */
class LoadClip {
 public:
  static constexpr unsigned int FRAME_RATE = 25;
  static constexpr unsigned int FRAME_MS = 1000 / FRAME_RATE;
  static constexpr long SECOND_OF_DAY = 43200;  // of the cameras' first frames

  /** Makes the clip in a directory: a key frame a second, about 200 kbit/s. */
  explicit LoadClip(const std::string& directory);

  [[nodiscard]] KTDataBlock frame(unsigned int stream, unsigned int number) const;
  /** The number of a frame of a stream; nothing when it is not to the byte what was sent. */
  [[nodiscard]] std::optional<unsigned int> numberOf(unsigned int stream,
                                                     const KTDataBlock& stored) const;

 private:
  struct Picture {
    KTDataBlock bytes;
    bool key;
  };

  std::vector<Picture> pictures_;
};

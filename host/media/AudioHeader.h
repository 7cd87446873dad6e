#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/media/AudioCodec.h"
#include "host/media/NalUnits.h"
#include "runtime/KTDataBlock.h"

/**
 * What a decoder must know of a sound stream before its first packet: the header that is stored in
 * front of a recording. See docs/format/audio.md.
 *
 * Owns: its bytes.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: sampleRate in samples per second.
 */
struct AudioHeader {
  AudioCodec codec = AudioCodec::Aac;
  unsigned int channels = 1;
  unsigned int sampleRate = 8000;
  std::vector<unsigned char> extraData;  // as libavcodec has it; empty for most codecs

  /** The stored form; empty when a value is out of bounds. */
  [[nodiscard]] KTDataBlock encode() const;
  /**
   * Takes a header off the front of bytes. Nothing, with bytes unchanged, when there is none or
   * when it is damaged.
   */
  [[nodiscard]] static std::optional<AudioHeader> take(MediaBytes& bytes);

  [[nodiscard]] bool operator==(const AudioHeader&) const = default;
};

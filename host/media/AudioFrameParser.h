#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/media/AudioHeader.h"
#include "host/media/AudioPacket.h"

/**
 * Takes the payload of a stored audio frame apart: the mirror of AudioFrameBuilder. It checks all
 * that it reads; what is damaged yields nothing, and packets before the damage stay good.
 *
 * Owns: the packets, which share the payload's bytes.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: false from parse().
 */
class AudioFrameParser {
 public:
  /**
   * Takes a payload of a frame whose stamp is timeMs, milliseconds since the epoch. False when it
   * is damaged: header() and packets() then hold what stood before the damage.
   */
  [[nodiscard]] bool parse(const KTDataBlock& payload, std::int64_t timeMs);

  /** The header, when playback put it in front of this frame. */
  [[nodiscard]] const std::optional<AudioHeader>& header() const { return header_; }
  /** Times in microseconds since the epoch. */
  [[nodiscard]] const std::vector<AudioPacket>& packets() const { return packets_; }

 private:
  [[nodiscard]] bool takePackets(const KTDataBlock& payload, unsigned int offset,
                                 std::int64_t timeUs);

  std::optional<AudioHeader> header_;
  std::vector<AudioPacket> packets_;
};

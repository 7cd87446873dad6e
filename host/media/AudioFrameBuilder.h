#pragma once

#include <cstdint>
#include <deque>

#include "host/media/AudioPacket.h"

/**
 * Puts packets of sound together, so that one stored frame holds a sensible stretch: a frame is
 * complete as soon as it holds TARGET_US, and where the next packet does not follow the last one.
 * Packets that lie before the end of the sound that was taken already are dropped, so that stamps
 * only rise; where the clock was put back by more than MAX_BACK_US they go back with it.
 *
 * Owns: the packets that no complete frame holds yet.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: packet times in microseconds since the epoch.
 */
class AudioFrameBuilder {
 public:
  static constexpr std::int64_t TARGET_US = 250'000;
  /** A packet further from the end of the one before does not follow it. */
  static constexpr std::int64_t MAX_GAP_US = 10'000;
  static constexpr std::int64_t MAX_BACK_US = 10'000'000;
  /** Larger packets are dropped: no decoder's packet is. */
  static constexpr unsigned int MAX_PACKET_SIZE = 65'536;
  /** A frame that has passed this is complete, however short. */
  static constexpr unsigned int MAX_PAYLOAD_SIZE = 1'048'576;

  void add(const AudioPacket& packet);
  /** Completes the frame that has been begun. */
  void flush();
  /** The clock was put back: what comes next is taken, wherever it lies. */
  void restart();
  /** The oldest complete frame; false when there is none. */
  [[nodiscard]] bool take(KTDataBlock& frame);
  /** The time of the frame that was taken last, milliseconds since the epoch. */
  [[nodiscard]] std::int64_t timeMs() const { return takenMs_; }

 private:
  void begin(std::int64_t timeUs);

  struct Complete {
    KTDataBlock bytes;
    std::int64_t timeMs;
  };

  std::deque<Complete> frames_;
  std::int64_t takenMs_ = 0;
  KTDataBlock payload_;  // of the frame being built; empty when none is
  std::int64_t stampMs_ = 0;
  std::int64_t startUs_ = 0;
  std::int64_t endUs_ = 0;  // of the last packet
  bool started_ = false;
};

// The layout of stored sound, shared by writers and parsers: see docs/format/audio.md.
#pragma once

#include <cstdint>

/** Constants of the payload of audio frames. All numbers are little-endian. Any thread; no state.
 */
class AudioFormat {
 public:
  static constexpr unsigned char HEADER_MARK = 0x48;   // 'H'
  static constexpr unsigned char PACKETS_MARK = 0x50;  // 'P'

  // Header: mark, channels, reserved 0, length of the codec name, sample rate, length of extra
  // data, name, extra data.
  static constexpr unsigned int CHANNELS_OFFSET = 1;     // u8
  static constexpr unsigned int RESERVED_OFFSET = 2;     // u8, 0
  static constexpr unsigned int NAME_SIZE_OFFSET = 3;    // u8
  static constexpr unsigned int SAMPLE_RATE_OFFSET = 4;  // u32
  static constexpr unsigned int EXTRA_SIZE_OFFSET = 8;   // u32
  static constexpr unsigned int HEADER_HEAD_SIZE = 12;   // bytes in front of the name
  static constexpr unsigned int MAX_HEADER_SIZE = 4096;  // bytes, all included

  // Packet: offset from the frame's stamp, duration, size, bytes.
  static constexpr unsigned int OFFSET_OFFSET = 0;      // u32, microseconds
  static constexpr unsigned int DURATION_OFFSET = 4;    // u32, microseconds
  static constexpr unsigned int SIZE_OFFSET = 8;        // u32, bytes
  static constexpr unsigned int PACKET_HEAD_SIZE = 12;  // bytes
  /** Neither an offset nor a duration is larger, so that a damaged one shows. */
  static constexpr std::int64_t MAX_SPAN_US = 10'000'000;
};

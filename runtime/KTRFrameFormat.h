// The layout of a frame, shared by KTRFrameWriter and KTRVideoFrame: see docs/format/frame.md.
#pragma once

/**
 * Constants of the frame format. A frame is a head of 9 bytes and a payload; all numbers are
 * little-endian. Any thread; no state.
 */
class KTRFrameFormat {
 public:
  /** Low 7 bits of byte 0. */
  enum Kind : unsigned char { Empty = 0, Key = 1, Delta = 2, Jpeg = 3, Audio = 4 };

  /** Bit of byte 0: the payload begins with the composition offset. */
  static constexpr unsigned char COMPOSITION_FLAG = 0x80;
  static constexpr unsigned int STAMP_OFFSET = 1;          // u32, milliseconds since midnight
  static constexpr unsigned int LENGTH_OFFSET = 5;         // u32, bytes of payload
  static constexpr unsigned int HEAD_SIZE = 9;             // bytes
  static constexpr unsigned int COMPOSITION_SIZE = 4;      // i32, milliseconds
  static constexpr unsigned int MAX_FRAME_SIZE = 2097152;  // bytes, head included

  [[nodiscard]] static constexpr bool isKind(unsigned char kind) { return kind <= Audio; }
};

// The layout of an event, shared by KTREventWriter and KTREventFrame: see docs/format/event.md.
#pragma once

/**
 * Constants of the event format. An event is a head of 20 bytes and its data; all numbers are
 * unsigned 32-bit little-endian. Any thread; no state.
 */
class KTREventFormat {
 public:
  static constexpr unsigned int SENSOR_OFFSET = 0;
  static constexpr unsigned int STAMP_OFFSET = 4;  // seconds of gateway time
  static constexpr unsigned int ID_OFFSET = 8;
  static constexpr unsigned int TYPE_OFFSET = 12;
  static constexpr unsigned int LENGTH_OFFSET = 16;       // bytes of data
  static constexpr unsigned int HEAD_SIZE = 20;           // bytes
  static constexpr unsigned int MAX_DATA_SIZE = 1048576;  // bytes
};

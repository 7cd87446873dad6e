#pragma once

/**
 * Bits of a message's type word, as record tasks test them. No state; any thread.
 */
class KTRMessageType {
 public:
  enum Bits : int {
    Stop = 0x1,               // end the session; what was committed before is stored
    Ignored = 0x20,           // taken without a word
    FrameData = 0x80,         // one or more frames, or events
    EventConfirmed = 0x1000,  // keep the by-events session
    ByEvents = 0x2000,        // record by events from the next key frame on
    EventNotice = 0x4000,     // sent by event sessions: sensor id, event type, database name
    Time = 0x10000,           // gateway time and server time, u32 little-endian seconds each
  };
};

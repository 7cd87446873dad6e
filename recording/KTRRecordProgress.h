#pragma once

#include <cstdint>

/** What a record session has done so far, for a progress display. A value. */
struct KTRRecordProgress {
  unsigned int sessionId = 0;   // row of the record session table; 0 = none opened yet
  unsigned int sliceIndex = 0;  // slice being written
  std::uint64_t frames = 0;     // frames stored since construction
  std::uint64_t bytes = 0;      // bytes of these frames, heads included
  unsigned int sliceBytes =
      0;  // where the next record of that slice begins, buffered ones included

  /** Goes on with what a later session has done. */
  KTRRecordProgress& operator+=(const KTRRecordProgress& later) {
    if (later.sessionId != 0) sessionId = later.sessionId;
    sliceIndex = later.sliceIndex;
    sliceBytes = later.sliceBytes;
    frames += later.frames;
    bytes += later.bytes;
    return *this;
  }
};

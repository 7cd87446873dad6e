#pragma once

#include <cstdint>
#include <memory>

#include "host/record/StreamSettings.h"
#include "runtime/KTClock.h"
#include "runtime/KTDataBlock.h"

/** A frame on its way into a record session. A value; the bytes are shared between copies. */
struct StreamFrame {
  KTDataBlock bytes;
  std::int64_t timeMs = 0;      // since the epoch
  bool startsPlayback = false;  // all but delta frames
  bool beginsSession = false;   // belongs into another session than the frame before it
  std::shared_ptr<const StreamSettings> settings;
  std::uint64_t spoolPlace = 0;  // behind it in the spool; 0 = it is in memory alone
  KTClock::Span arrived{0};      // from the source
};

#pragma once

#include <cstdint>

#include "runtime/KTRFrameFormat.h"
#include "store/KTRFile.h"

/** Where one sound record lies in a slice file, and what its frame says of itself. No state. */
struct SliceRecord {
  uint64_t offset = 0;   // of its marker, bytes
  uint32_t size = 0;     // bytes of the frame
  uint32_t stampMs = 0;  // milliseconds since 00:00 UTC
  KTRFrameFormat::Kind kind = KTRFrameFormat::Empty;

  [[nodiscard]] uint64_t end() const { return offset + KTRFile::RECORD_HEAD_SIZE + size; }
  /** Whether playback can begin here, so that the index may point here. */
  [[nodiscard]] bool startsPlayback() const {
    return kind == KTRFrameFormat::Key || kind == KTRFrameFormat::Jpeg ||
           kind == KTRFrameFormat::Audio;
  }
};

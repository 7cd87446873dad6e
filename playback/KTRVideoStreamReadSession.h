#pragma once

#include "playback/KTRStreamReadSession.h"
#include "runtime/KTRExport.h"

/**
 * Plays a video recording frame by frame. A frame is what KTRVideoFrame parses; its time is in it.
 *
 * Owns, Threads, Blocks, Errors: as KTRStreamReadSession. getFrame() may be called from another
 * thread than the moves.
 */
class KTR_API KTRVideoStreamReadSession : public KTRStreamReadSession {
 public:
  using KTRStreamReadSession::KTRStreamReadSession;
  ~KTRVideoStreamReadSession() override;

  [[nodiscard]] const char* name() const override;
  /** The next frame as it was stored; false, frame untouched, when paused or at the end. */
  [[nodiscard]] int getFrame(KTDataBlock& frame, unsigned int& timestamp) override;
};

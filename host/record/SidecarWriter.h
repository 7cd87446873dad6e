#pragma once

#include "host/record/SessionSidecar.h"
#include "recording/KTRStreamRecordParams.h"
#include "runtime/KTDataBlock.h"

/**
 * Writes the sidecar file of each record session of a stream once, when the session has begun.
 *
 * Threads: one thread at a time for each object.
 * Blocks: once a session, for the database and the disk.
 * Errors: a warning in the log; the recording goes on without the file.
 */
class SidecarWriter {
 public:
  /** audioHeader: as AudioHeader::encode() makes it; empty for pictures. */
  SidecarWriter(const KTRStreamRecordParams& params, const KTDataBlock& audioHeader);

  /**
   * session: the one that is recorded now; 0 when none has begun.
   * @return what the paths of its files begin with; empty for one whose row is gone, and for one
   *   that was noted before
   */
  std::string note(unsigned int session);

 private:
  KTString recorder_;
  SessionSidecar sidecar_;
  unsigned int noted_ = 0;
};

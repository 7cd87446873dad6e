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
   * session: the one that is recorded now.
   * @return what the paths of its files begin with; empty where the database does not tell it
   */
  std::string note(unsigned int session);

 private:
  KTString recorder_;
  SessionSidecar sidecar_;
};

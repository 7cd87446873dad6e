#pragma once

#include <memory>
#include <string>

#include "host/bench/BenchPlace.h"
#include "recording/KTRVideoStreamRecordSession.h"

/**
 * A record session of a scenario's stream, to be fed frame by frame.
 *
 * Owns: the session.
 * Threads: one thread at a time for each object.
 * Blocks: waitForRoom() and finish() for the session's thread.
 */
class SessionFeeding {
 public:
  /** gatewayTime: seconds since the epoch at the beginning of the footage; the clock's time too. */
  SessionFeeding(BenchPlace& place, const std::string& recorder, unsigned char stream,
                 long gatewayTime);

  /** Waits until so few frames wait that the session does not warn of them. */
  void waitForRoom() const;
  /** False when the session has ended. */
  [[nodiscard]] bool commit(const KTDataBlock& frame);
  /** Ends the session, all of it on disk; answers how many frames it has stored. To be last. */
  [[nodiscard]] std::uint64_t finish();

 private:
  std::unique_ptr<KTRVideoStreamRecordSession> session_;
};

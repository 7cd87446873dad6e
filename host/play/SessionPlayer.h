#pragma once

#include "playback/KTRVideoStreamReadSession.h"

/**
 * A read session that can also be put at the start of one certain record session: of its files, so
 * that a recording too short to have an index (one group of pictures) and the frames in front of
 * the first indexed one are played as well.
 *
 * Owns, Threads, Blocks, Errors: as KTRVideoStreamReadSession.
 */
class SessionPlayer : public KTRVideoStreamReadSession {
 public:
  using KTRVideoStreamReadSession::KTRVideoStreamReadSession;
  ~SessionPlayer() override;

  /** Opens the oldest slice of a record session and plays. After a failure nothing plays. */
  [[nodiscard]] bool loadStart(const KTRRecorderSessionRow& row);
};

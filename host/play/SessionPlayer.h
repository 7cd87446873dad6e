#pragma once

#include <algorithm>

#include "playback/KTRVideoStreamReadSession.h"

/**
 * A read session that can also be put at the start of one certain record session: of its files, so
 * that a recording too short to have an index (one group of pictures) and the frames in front of
 * the first indexed one are played as well.
 *
 * Owns, Threads, Blocks, Errors: as the read session that it is made of.
 */
template <class ReadSession>
class SessionPlayerOf : public ReadSession {
 public:
  using ReadSession::ReadSession;

  /** Opens the oldest slice of a record session and plays. After a failure nothing plays. */
  [[nodiscard]] bool loadStart(const KTRRecorderSessionRow& row) {
    this->pause();
    KTR_DB_handle* const db = this->database();
    if (db == nullptr || !db->settingsTable()->getSettingsByID(row.settingsID, this->_settings)) {
      return false;
    }
    KTRStreamTable* const index = db->streamInstance(row.id);
    if (index == nullptr) return false;
    this->_recordSession = row;
    this->_streamId = row.streamID;
    this->_settingsId = row.settingsID;
    this->_startTime = row.start_time;
    this->_fileIndex = static_cast<unsigned char>(std::max(0, index->getOlderFileID()));
    this->_fileOffset = 0;
    this->_loaded = this->_playing = this->openFileNSeekIt(this->_fileIndex, 0);
    return this->_playing;
  }
};

using SessionPlayer = SessionPlayerOf<KTRVideoStreamReadSession>;

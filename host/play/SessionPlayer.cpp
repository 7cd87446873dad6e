#include "host/play/SessionPlayer.h"

#include <algorithm>

SessionPlayer::~SessionPlayer() = default;

bool SessionPlayer::loadStart(const KTRRecorderSessionRow& row) {
  pause();
  KTR_DB_handle* const db = database();
  if (db == nullptr || !db->settingsTable()->getSettingsByID(row.settingsID, _settings)) {
    return false;
  }
  KTRStreamTable* const index = db->streamInstance(row.id);
  if (index == nullptr) return false;
  _recordSession = row;
  _streamId = row.streamID;
  _settingsId = row.settingsID;
  _startTime = row.start_time;
  _fileIndex = static_cast<unsigned char>(std::max(0, index->getOlderFileID()));
  _fileOffset = 0;
  _loaded = _playing = openFileNSeekIt(_fileIndex, 0);
  return _playing;
}

// Opening a record session: settings row, day directory, session row, index table, data file. The
// steps are those of docs/design/durability.md.
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTLogger.h"

bool KTRVideoStreamRecordSession::openSession(long realTime) {
  KTR_DB_handle* db = openRecordSession(realTime);
  if (db == nullptr) return false;
  resetVideoSessionRecordVariables();
  return params_.recordMode != KTRStreamRecordParams::Continuous || markAvailable(db);
}

bool KTRVideoStreamRecordSession::startNewSession(KTR_DB_handle* db) {
  if (!addSettings(db, params_.videoSettings)) {  // step C1
    return refused("Cant add videoSettings in DB error !!.");
  }
  KTString storage = params_.storageDir;
  if (!builStorageDirName(storage)) return refused("Cant Create Directory !!");  // step C2
  const int settingsId = db->settingsTable()->getSettingsID(params_.videoSettings);
  if (settingsId == -1) return refused("Cant find videoSettings in DB error !!.");
  if (!addSessionRow(db, storage, static_cast<unsigned int>(settingsId))) return false;  // step C3
  if (db->createDataStreamTable(sessionId_) == nullptr) {
    return refused("Cant create createVideoStreamTabl in DB error !!.");
  }
  if (!openDataFile(db)) return false;  // step C4
  KTLogger::instance()->log(KTLogger::Information, "[x] Start Video SessionID:%d for StreamID:%d",
                            static_cast<int>(sessionId_), params_.streamId);
  return true;
}

bool KTRVideoStreamRecordSession::addSessionRow(KTR_DB_handle* db, const KTString& storage,
                                                unsigned int settingsId) {
  KTRRecorderSessionRow row = newSessionRow(storage, settingsId, STREAM_VIDEO);
  row.realFps = params_.videoSettings.videoParam1;
  if (insertSessionRow(db, row)) return true;

  if (!removeHalfBornRow(db, row)) return false;
  const KTString insert = row.getQuery();
  KTLogger::instance()->log(KTLogger::Error, "insert=%s", insert.c_str());
  if (insertSessionRow(db, row)) return true;
  KTLogger::instance()->log(KTLogger::Error, "Can't add RecorderSessionRow in DB recordid=%u",
                            sessionId_);
  KTLogger::instance()->log(KTLogger::Error, "insert=%s", insert.c_str());
  return false;
}

bool KTRVideoStreamRecordSession::removeHalfBornRow(KTR_DB_handle* db,
                                                    const KTRRecorderSessionRow& row) {
  KTRRecorderSessionRow duplicate;
  if (!db->recordSessionTable()->getRecordSessionRow(static_cast<unsigned char>(row.streamID),
                                                     row.start_time, 0, row.settingsID, duplicate,
                                                     KTString::EmptyString)) {
    KTLogger::instance()->log(KTLogger::Error,
                              "Cant find duplicate RecorderSessionRow in DB streamID=%d "
                              "startTime=%u",
                              static_cast<int>(row.streamID), row.start_time);
    return false;
  }
  KTString condition;
  condition.format(" WHERE id=%u", duplicate.id);
  if (db->recordSessionTable()->delete_row(condition, db->recordSessionTable()->getName()) != 0) {
    KTLogger::instance()->log(
        KTLogger::Error, "Cant delete wrong RecorderSessionRow in DB sessionID=%u", duplicate.id);
  }
  return true;
}

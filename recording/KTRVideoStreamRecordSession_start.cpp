// Opening a record session: settings row, day directory, session row, index table, data file.
#include "handles/KTR_DB_factory.h"
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTLogger.h"

namespace {

constexpr unsigned int DATA_UNDECIDED = 2;  // neither confirmed nor gone
constexpr unsigned int FAILED = ~0U;

bool refused(const char* text) {
  KTLogger::instance()->log(KTLogger::Error, "%s", text);
  return false;
}

}  // namespace

bool KTRVideoStreamRecordSession::openSession(long realTime) {
  recording_ = false;
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->createDB(params_.dbName);
  if (db == nullptr || db->recordSessionTable() == nullptr || !startNewSession(db)) return false;
  resetVideoSessionRecordVariables();
  publishSession();
  KTRRecordSessionTable* table = db->recordSessionTable();
  if (!rowUpdated(table->updateStartTime(sessionId_, realTime) == 0)) return false;
  return params_.recordMode != KTRStreamRecordParams::Continuous ||
         rowUpdated(table->updateDataAvailable(sessionId_, 1) == 0);
}

// A session whose row is gone or cannot be read would record what no player finds.
bool KTRVideoStreamRecordSession::rowUpdated(bool updated) const {
  if (updated) return true;
  KTLogger::instance()->log(KTLogger::Error, "Cant update RecorderSessionRow in DB sessionID=%u",
                            sessionId_);
  return false;
}

bool KTRVideoStreamRecordSession::startNewSession(KTR_DB_handle* db) {
  KTRSettingsTable* settings = db->settingsTable();
  if (settings == nullptr ||
      settings->addKTRRow(params_.videoSettings, KTR_DBTable::TB_STREAM_SETTINGS) == -1) {
    return refused("Cant add videoSettings in DB error !!.");
  }
  KTString storage = params_.storageDir;
  if (!builStorageDirName(storage)) return refused("Cant Create Directory !!");
  const int settingsId = settings->getSettingsID(params_.videoSettings);
  if (settingsId == -1) return refused("Cant find videoSettings in DB error !!.");
  if (!addSessionRow(db, storage, static_cast<unsigned int>(settingsId))) return false;
  if (db->createDataStreamTable(sessionId_) == nullptr) {
    return refused("Cant create createVideoStreamTabl in DB error !!.");
  }
  if (!openDataFile(db)) return false;
  KTLogger::instance()->log(KTLogger::Information, "[x] Start Video SessionID:%d for StreamID:%d",
                            static_cast<int>(sessionId_), params_.streamId);
  return true;
}

bool KTRVideoStreamRecordSession::addSessionRow(KTR_DB_handle* db, const KTString& storage,
                                                unsigned int settingsId) {
  KTRRecorderSessionRow row;
  row.streamID = static_cast<unsigned int>(params_.streamId);
  row.settingsID = settingsId;
  row.update_time = static_cast<unsigned int>(serverTime());
  row.dataAvailable = DATA_UNDECIDED;
  row.storage = storage;
  row.streamType = STREAM_VIDEO;
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

// A row that exists already (a session that died between its birth and its first frame) makes the
// insert succeed without a row of its own: the id that comes back then belongs to another row. So
// the row is read back before its id is trusted.
bool KTRVideoStreamRecordSession::insertSessionRow(KTR_DB_handle* db,
                                                   const KTRRecorderSessionRow& row) {
  const unsigned int id = db->recordSessionTable()->addRow(row);
  KTRRecorderSessionRow stored;
  if (id == FAILED || id == 0 || !db->recordSessionTable()->getRecordSessionRow(id, stored)) {
    return false;
  }
  const bool isOurs = stored.streamID == row.streamID && stored.settingsID == row.settingsID &&
                      stored.start_time == 0 && stored.end_time == 0 &&
                      stored.storage == row.storage;
  if (isOurs) sessionId_ = id;
  return isOurs;
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

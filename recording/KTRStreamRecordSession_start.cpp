// Opening a record session: what video and audio do alike.
#include "db/KTRTextGuard.h"
#include "handles/KTR_DB_factory.h"
#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTLogger.h"

namespace {

constexpr unsigned int DATA_UNDECIDED = 2;  // neither confirmed nor gone
constexpr unsigned int FAILED = ~0U;

}  // namespace

KTR_DB_handle* KTRStreamRecordSession::openRecordSession(long realTime) {
  recording_ = false;
  // Before the day directory is made.
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, params_.storageDir)) return nullptr;
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->createDB(params_.dbName);
  if (db == nullptr || db->recordSessionTable() == nullptr || !startNewSession(db)) return nullptr;
  publishSession();
  const int result = db->recordSessionTable()->updateStartTime(sessionId_, realTime);  // step C5
  return rowUpdated(result == 0) ? db : nullptr;
}

bool KTRStreamRecordSession::markAvailable(KTR_DB_handle* db) const {
  return rowUpdated(db->recordSessionTable()->updateDataAvailable(sessionId_, 1) == 0);
}

// A session whose row is gone or cannot be read would record what no player finds.
bool KTRStreamRecordSession::rowUpdated(bool updated) const {
  if (updated) return true;
  KTLogger::instance()->log(KTLogger::Error, "Cant update RecorderSessionRow in DB sessionID=%u",
                            sessionId_);
  return false;
}

bool KTRStreamRecordSession::addSettings(KTR_DB_handle* db, const KTRSettingsRow& settings) {
  KTRSettingsTable* table = db->settingsTable();
  return table != nullptr && table->addKTRRow(settings, KTR_DBTable::TB_STREAM_SETTINGS) != -1;
}

KTRRecorderSessionRow KTRStreamRecordSession::newSessionRow(const KTString& storage,
                                                            unsigned int settingsId,
                                                            streamTypes kind) const {
  KTRRecorderSessionRow row;
  row.streamID = static_cast<unsigned int>(params_.streamId);
  row.settingsID = settingsId;
  row.update_time = static_cast<unsigned int>(serverTime());
  row.dataAvailable = DATA_UNDECIDED;
  row.storage = storage;
  row.streamType = kind;
  return row;
}

// A row that exists already (a session that died between its birth and its first frame, or one that
// began in the same second) makes the insert succeed without a row of its own: the id that comes
// back then belongs to another row. So the row is read back before its id is trusted.
bool KTRStreamRecordSession::insertSessionRow(KTR_DB_handle* db, const KTRRecorderSessionRow& row) {
  const unsigned int id = db->recordSessionTable()->addRow(row);
  KTRRecorderSessionRow stored;
  if (id == FAILED || id == 0 || id == sessionId_ ||
      !db->recordSessionTable()->getRecordSessionRow(id, stored)) {
    return false;
  }
  const bool isOurs = stored.streamID == row.streamID && stored.settingsID == row.settingsID &&
                      stored.start_time == row.start_time && stored.end_time == row.end_time &&
                      stored.storage == row.storage;
  if (isOurs) sessionId_ = id;
  return isOurs;
}

bool KTRStreamRecordSession::openDataFile(KTR_DB_handle* db) {
  if (file_ != nullptr) (void)file_->_close();
  filePrefix_ = db->getFullPrefixFileName(static_cast<int>(sessionId_));
  file_ = std::make_unique<KTRFile>(filePrefix_, 0, KTRFile::WRITE_FLAGS, params_.sliceSize);
  return file_->opened();
}

void KTRStreamRecordSession::publishSession() {
  shownSession_.store(sessionId_, std::memory_order_relaxed);
  shownSlice_.store(0, std::memory_order_relaxed);
  shownSliceBytes_.store(0, std::memory_order_relaxed);
}

bool KTRStreamRecordSession::refused(const char* text) {
  KTLogger::instance()->log(KTLogger::Error, "%s", text);
  return false;
}

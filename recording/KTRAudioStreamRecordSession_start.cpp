// Opening a record session: settings row, day directory, session row, index table, data file.
#include "recording/KTRAudioStreamRecordSession.h"
#include "runtime/KTLogger.h"

namespace {
constexpr unsigned int REAL_FPS = 15;
}  // namespace

bool KTRAudioStreamRecordSession::openSession(long realTime) {
  KTR_DB_handle* db = openRecordSession(realTime);
  if (db == nullptr) return false;
  resetSessionRecordVariables();
  KTLogger::instance()->log(KTLogger::Information, "Start Audio SessionID:%d StreamID:%d",
                            static_cast<int>(sessionId_), params_.streamId);
  return params_.recordMode == KTRStreamRecordParams::ByEvents || markAvailable(db);
}

// Unlike a video's row, this one is born with both times set, so that a crash leaves no half-born
// row behind that would keep the next one out.
bool KTRAudioStreamRecordSession::startNewSession(KTR_DB_handle* db) {
  const auto begun = static_cast<unsigned int>(serverTime());
  if (!addSettings(db, params_.audioSettings)) {  // step C1
    return refused("[AUDIO] Cant add audioSettings in DB !!");
  }
  KTString storage = params_.storageDir;
  if (!builStorageDirName(storage)) return refused("[AUDIO] Cant Create Directory !!");  // step C2
  const int settingsId = db->settingsTable()->getSettingsID(params_.audioSettings);
  if (settingsId == -1) return refused("[AUDIO] Cant find audioSettings in DB !!");
  KTRRecorderSessionRow row =
      newSessionRow(storage, static_cast<unsigned int>(settingsId), STREAM_AUDIO);
  row.start_time = begun;
  row.end_time = begun;
  row.realFps = REAL_FPS;
  if (!insertSessionRow(db, row)) {  // step C3
    return refused("[AUDIO] Cant add RecorderSessionRow in DB error !!...");
  }
  if (db->createDataStreamTable(sessionId_) == nullptr) {
    return refused("Cant create Audio createDataStreamTabl in DB error !!.");
  }
  if (!openDataFile(db)) return false;  // step C4
  KTLogger::instance()->log(KTLogger::Information, "[x] Start Audio SessionID:%d for StreamID:%d",
                            static_cast<int>(sessionId_), params_.streamId);
  return true;
}

// The retention operations of KTR_DB_handle. Index rows of a slice go before its file, so that a
// player never finds a row that points into a missing file.
#include <cstdlib>
#include <string>

#include "db/KTROwnedResult.h"
#include "handles/KTRRemovalGuard.h"
#include "handles/KTR_DB_handle.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "store/KTRFile.h"
#include "tables/KTRFirstText.h"

namespace {

// The oldest directory is left alone while all recordings began within half an hour.
constexpr unsigned int LEAST_SPAN_SECONDS = 1800;

const KTString& indexTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS];
}

const KTString& sessionsTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_RECORD_SESSIONS];
}

void runShell(const KTString& command) {
  // NOLINTNEXTLINE(cert-env33-c,concurrency-mt-unsafe): the guard has refused all but plain paths
  [[maybe_unused]] const int ignored = std::system(command.c_str());
}

KTString directoryOf(const KTString& path) {
  return KTString(std::string(path.view().substr(0, path.view().rfind('/'))));
}

}  // namespace

bool KTR_DB_handle::deleteOlderSlicesOfRecorderSession(unsigned int id) {
  if (!isConnected()) return false;
  KTRStreamTable* table = streamInstance(id);
  const int slice = table == nullptr ? -1 : table->getOlderFileID();
  if (slice < 0) {
    KTLogger::instance()->log(KTLogger::Information,
                              "KTR_DB_handle::deleteOlderSlicesOfRecorderSession remove session %u",
                              id);
    deleteStreamSession(id);
    return false;
  }
  removeSlice(id, slice);

  KTString ofSession;
  ofSession.format(" WHERE _id=%u ", id);
  if (tb_rownum(indexTable(), ofSession) > 0) {
    moveStartToOldestFrame(*table);
    return true;
  }
  KTLogger::instance()->log(KTLogger::Information,
                            "KTR_DB_handle::deleteOlderSlicesOfRecorderSession remove session %u "
                            "because of empty stream table",
                            id);
  deleteStreamSession(id);
  return true;
}

void KTR_DB_handle::removeSlice(unsigned int id, int slice) {
  KTString ofSlice;
  ofSlice.format(" WHERE _id=%u AND _fileIndex=%u", id, static_cast<unsigned int>(slice));
  if (delete_row(ofSlice, indexTable()) != 0) return;  // step D1
  KTRFile file(getFullPrefixFileName(static_cast<int>(id)), static_cast<unsigned char>(slice),
               KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  file._remove();  // step D2
  file._close();
}

void KTR_DB_handle::moveStartToOldestFrame(KTRStreamTable& table) {
  const unsigned int oldest = table.getOlderKFrameTime();
  if (oldest != 0) _recordSessionTable->updateStartTime(table.sessionID(), oldest);  // step D3
}

void KTR_DB_handle::deleteOlderRecordSessionRow(unsigned int, unsigned int) {
  if (!isConnected()) return;
  const int id = _recordSessionTable->getOlderSessionID();
  if (id != 0) deleteOlderSlicesOfRecorderSession(static_cast<unsigned int>(id));
}

void KTR_DB_handle::deleteStreamSession(unsigned int id) {
  if (!isConnected()) return;
  const KTRStreamTable* table = streamInstance(id);
  if (table != nullptr) {
    KTString ofSession;
    ofSession.format(" WHERE _id=%u ", id);
    if (id != 0) delete_row(ofSession, indexTable());  // step D5
    destroyVideoStream(id);
  }
  KTString condition;
  condition.format(" WHERE id=%u", id);
  _recordSessionTable->delete_row(condition, sessionsTable());  // step D6
}

void KTR_DB_handle::deleteAllDataFiles(unsigned int id) {
  const KTString prefix = getFullPrefixFileName(static_cast<int>(id));
  // Below the root in both cases: the prefix of a session without a directory would begin with "/".
  if (!KTRRemovalGuard::allows(directoryOf(prefix), KTString::EmptyString) ||
      !KTRRemovalGuard::allows(prefix, _storageRoot)) {
    return;
  }
  KTString command;
  // The backslash keeps a shell alias out.
  command.format("\\rm -f %s*", prefix.c_str());
  runShell(command);
}

bool KTR_DB_handle::deleteOlderDay() {
  KTString storage;
  // A directory that must not be removed is refused before any row is gone.
  if (!isConnected() || !oldestDirectory(storage) ||
      !KTRRemovalGuard::allows(storage, _storageRoot)) {
    return false;
  }
  KTString condition;
  condition.format(" WHERE storage='%s'", storage.c_str());
  if (delete_row(condition, sessionsTable()) != 0) return false;

  KTString command;
  command.format("/bin/rm -rf %s", storage.c_str());
  KTLogger::instance()->log(KTLogger::Information, "[deleteCmd] %s", command.c_str());
  runShell(command);
  deleteLostData();
  return true;
}

bool KTR_DB_handle::oldestDirectory(KTString& storage) {
  KTString query;
  query.format("SELECT min(start_time),max(start_time) FROM %s WHERE start_time > 0 ",
               sessionsTable().c_str());
  KTROwnedResult span;
  char** row = nullptr;
  if (!get_row(query, row, span, 0) || row[0] == nullptr) return false;
  const unsigned int oldest = KTString(row[0]).toUInt(0);
  const unsigned int newest = KTString(row[1]).toUInt(0);
  if (newest - oldest < LEAST_SPAN_SECONDS) return false;

  KTString ofOldest;
  ofOldest.format("SELECT storage FROM %s WHERE start_time=%u LIMIT 1", sessionsTable().c_str(),
                  oldest);
  return KTRFirstText(*this, ofOldest, storage);
}

void KTR_DB_handle::deleteLostData() {
  if (!isConnected()) return;
  KTString query;
  query.format("SELECT min(id) FROM %s ", sessionsTable().c_str());
  KTString oldestID;
  if (!KTRFirstText(*this, query, oldestID)) {
    KTLogger::instance()->log(KTLogger::Error, " can't find min(id) from recordSessions ");
    return;
  }
  KTString older;
  older.format(" WHERE _id<%u ", oldestID.toUInt(0));
  if (delete_row(older, indexTable()) != 0) {
    KTLogger::instance()->log(KTLogger::Error, " can't delete old records from dataStreams ");
  }
}

#include "host/byevents/EventWindow.h"

#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "handles/KTRRemovalGuard.h"
#include "handles/KTR_DB_factory.h"
#include "host/byevents/WindowTable.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int CONFIRMED = 1;
constexpr unsigned int UNDECIDED = 2;
/** Slices after which a session holds a whole window, whatever its number of key frames. */
constexpr unsigned int WHOLE_WINDOW = 3;

}  // namespace

void EventWindow::begin(KTRStreamRecordSession& session) {
  current_ = 0;
  confirmationsBefore_ = gate_.confirmations();
  unconfirmed_ = !gate_.isOpen();
  if (!unconfirmed_) return;
  (void)session.commit(KTDataBlock(), KTRMessageType::ByEvents, KTMessage::NormalPriority);
}

void EventWindow::follow(KTRStreamRecordSession& session) {
  if (!unconfirmed_) return;
  observe(session);
  if (current_ == 0) return;
  if (gate_.confirmations() != confirmationsBefore_) {
    confirm(session);
  } else if (session.progress().sliceIndex >= WHOLE_WINDOW) {
    removeEarlier();
  }
}

// A session that is stopped at once has not been looked at yet.
void EventWindow::beforeStop(KTRStreamRecordSession& session) {
  if (!unconfirmed_) return;
  observe(session);
  if (gate_.confirmations() != confirmationsBefore_) confirm(session);
}

bool EventWindow::isUnconfirmed() const {
  return unconfirmed_;
}

bool EventWindow::isOver() const {
  return !unconfirmed_ && !gate_.isOpen();
}

// A row that was read back says that there is data, whatever it said before: the library's first
// update of a session's start makes a window look like a recording.
void EventWindow::observe(const KTRStreamRecordSession& session) {
  const unsigned int id = session.progress().sessionId;
  if (id != current_) {
    if (current_ != 0) earlier_.push_back(current_);
    current_ = id;
    listed_ = false;
    mark(id, UNDECIDED);
  }
  KTR_DB_handle* db = current_ == 0 || listed_ ? nullptr : database();
  if (db != nullptr) listed_ = WindowTable(*db).add(current_);
}

// The session marks its row too, and writes that within ten seconds: a crash would come before.
void EventWindow::confirm(KTRStreamRecordSession& session) {
  if (session.commit(KTDataBlock(), KTRMessageType::EventConfirmed, KTMessage::NormalPriority) !=
      0) {
    return;
  }
  unconfirmed_ = false;
  if (current_ != 0) earlier_.push_back(current_);
  for (const unsigned int id : earlier_) {
    mark(id, CONFIRMED);
    unlist(id);
  }
  earlier_.clear();
  listed_ = false;
}

bool EventWindow::ended(const KTRStreamRecordSession& session) {
  const unsigned int last = session.progress().sessionId;
  if (unconfirmed_ && current_ != 0 && current_ != last) earlier_.push_back(current_);
  removeEarlier();
  const bool listed = std::exchange(listed_, false) && current_ == last;
  unconfirmed_ = false;
  current_ = 0;
  const std::optional<bool> found = last == 0 ? std::nullopt : hasRow(last);
  if (!found) return true;
  const bool settled = *found || removeFiles(session.filePrefix());  // step D7
  if (listed && settled) unlist(last);
  return *found;
}

void EventWindow::removeEarlier() {
  KTR_DB_handle* db = database();
  if (db == nullptr) return;
  for (const unsigned int id : earlier_) {
    if (!hasRow(id).value_or(true)) continue;
    db->deleteAllDataFiles(id);
    db->deleteStreamSession(id);
    unlist(id);
  }
  earlier_.clear();
}

void EventWindow::mark(unsigned int session, unsigned int dataAvailable) const {
  KTR_DB_handle* db = database();
  if (db == nullptr) return;
  (void)db->recordSessionTable()->updateDataAvailable(session, dataAvailable);
  db->recordSessionTable()->updateDataBase(true);
}

void EventWindow::unlist(unsigned int session) const {
  if (KTR_DB_handle* db = database()) WindowTable(*db).unlist(session);
}

KTR_DB_handle* EventWindow::database() const {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->db_instance(params_.dbName);
  return db == nullptr || db->recordSessionTable() == nullptr ? nullptr : db;
}

// Nothing while the server does not answer, which must not cost a file.
std::optional<bool> EventWindow::hasRow(unsigned int session) const {
  KTR_DB_handle* db = database();
  if (db == nullptr) return std::nullopt;
  KTString query;
  query.format("SELECT id FROM %s WHERE id=%u",
               KTR_DBTable::KTR_TableName[KTR_DBTable::TB_RECORD_SESSIONS].c_str(), session);
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);  // the error is this query's own
  KTDLList<KTString> rows;
  db->getQueryResultList(rows, query);
  return db->lastError() == 0 ? std::optional(rows.count != 0) : std::nullopt;
}

/** Whether none is left. */
bool EventWindow::removeFiles(const KTString& prefix) const {
  if (prefix.empty()) return true;
  if (!KTRRemovalGuard::allows(prefix, params_.storageDir)) return false;
  const fs::path path(std::string(prefix.view()));
  const std::string begin = path.filename().string();
  std::vector<fs::path> files;
  std::error_code error;
  for (fs::directory_iterator entry(path.parent_path(), error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().string().starts_with(begin)) files.push_back(entry->path());
  }
  bool removed = !error;
  for (const fs::path& file : files) {
    if (unlink(file.c_str()) == 0) continue;
    KTLogger::instance()->log(KTLogger::Error, "[ REMOVE FILE ERROR] : %s", file.c_str());
    removed = false;
  }
  return removed;
}

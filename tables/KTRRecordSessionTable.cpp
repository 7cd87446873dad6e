#include "tables/KTRRecordSessionTable.h"

#include <cstdlib>

#include "db/KTROwnedResult.h"
#include "db/KTRTextGuard.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"

namespace {
constexpr long FLUSH_SECONDS = 10;  // a flush is due when more than these have passed
constexpr unsigned int CACHED_ROWS = 100;
constexpr const char* TIME_INDEX = "idx_stream_times";
constexpr unsigned int DUPLICATE_KEY_NAME = 1061;  // somebody else has made it meanwhile
}  // namespace

KTRRecordSessionTable::KTRRecordSessionTable(MYSQL* connection)
    : KTR_DBTable(KTString(), connection), _lastFlushTime(KTTimeValue::now()) {
  _tableName = KTR_TableName[TB_RECORD_SESSIONS];
  if (create(_tableName, KTR_TableFields[TB_RECORD_SESSIONS]) != 0) {
    KTLogger::instance()->log(KTLogger::Error,
                              "[ KTRRecordSessionTable constructor ] CREATE TABLE FAILED !!!");
  }
}

KTRRecordSessionTable::~KTRRecordSessionTable() {
  updateDataBase(true);
}

const char* KTRRecordSessionTable::name() const {
  return "KTRRecordSessionTable";
}

// By start and id, as sessions are asked for in turn; with the end, so that those that are over are
// passed over in the index. Who waits for another's statement on the table keeps everybody waiting
// who comes after: by itself the server would let that last a day.
bool KTRRecordSessionTable::indexTimes() {
  const KTCriticalCode guard(_staticMysqlMux);
  KTString statement;
  statement.format("SHOW INDEX FROM %s WHERE Key_name='%s'", _tableName.c_str(), TIME_INDEX);
  if (hasRow(statement)) return true;
  if (lastError() != 0) return false;
  statement.format("CREATE INDEX %s ON %s (streamID,start_time,id,end_time)", TIME_INDEX,
                   _tableName.c_str());
  db_do_query("SET SESSION lock_wait_timeout=1");
  const bool made = db_do_query(statement) == 0 || lastError() == DUPLICATE_KEY_NAME;
  db_do_query("SET SESSION lock_wait_timeout=DEFAULT");
  return made;
}

unsigned int KTRRecordSessionTable::addRow(const KTRRecorderSessionRow& row) {
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, row.storage)) return ~0U;
  const KTCriticalCode guard(_staticMysqlMux);
  return static_cast<unsigned int>(
      insert_row(row.getQuery(), KTR_TableName[TB_RECORD_SESSIONS], true));
}

int KTRRecordSessionTable::updateStartTime(unsigned int id, long time) {
  return updateTime(START_TIME, id, time, 0);
}

int KTRRecordSessionTable::updateEndTime(unsigned int id, long time, int fps) {
  return updateTime(END_TIME, id, time, fps);
}

int KTRRecordSessionTable::updateTime(timeType which, unsigned int id, long time, int fps) {
  const KTCriticalCode guard(_staticMysqlMux);
  KTRRecorderSessionRow* row = findRow(id);
  if (row == nullptr) return -1;
  const bool force = row->start_time == 0 || row->end_time == 0;
  uint32_t& changed = which == START_TIME ? row->start_time : row->end_time;
  changed = static_cast<uint32_t>(time);
  if (fps > 0) row->realFps = static_cast<uint32_t>(fps);
  _dirty[id] = true;
  updateDataBase(force);
  return 0;
}

unsigned int KTRRecordSessionTable::updateDataAvailable(unsigned int id, unsigned int value) {
  const KTCriticalCode guard(_staticMysqlMux);
  KTRRecorderSessionRow* row = findRow(id);
  if (row == nullptr) return static_cast<unsigned int>(-1);
  row->dataAvailable = value;
  _dirty[id] = true;
  updateDataBase(false);
  return 0;
}

// Every walk over the cache counts: it happens once a second for each stream, with the mutex held.
KTRRecorderSessionRow* KTRRecordSessionTable::findRow(unsigned int id) {
  for (KTMapPair<unsigned int, KTRRecorderSessionRow>& cached : _rowCache.list) {
    if (cached.first == id) return &cached.second;
  }
  KTRRecorderSessionRow stored;
  if (!getRecordSessionRow(id, stored)) return nullptr;
  return &_rowCache.list.append({id, stored})->value.second;
}

void KTRRecordSessionTable::updateDataBase(bool force) {
  const KTCriticalCode guard(_staticMysqlMux);
  // A clock that was set back counts as due too: the last flush would lie in the future for long.
  if (!force && std::labs((KTTimeValue::now() - _lastFlushTime).tv_sec) <= FLUSH_SECONDS) return;
  _lastFlushTime = KTTimeValue::now();
  for (const KTMapPair<unsigned int, bool>& changed : _dirty.list) {
    _lastFlushTime = KTTimeValue::now();
    writeRow(_rowCache[changed.first], _lastFlushTime);
  }
  _dirty.clear();
  if (_rowCache.count() > CACHED_ROWS) _rowCache.remove(_rowCache.list.head.next->value.first);
}

void KTRRecordSessionTable::writeRow(const KTRRecorderSessionRow& row, const KTTimeValue& now) {
  KTString set;
  set.format(" start_time=%u,end_time=%u,update_time=%u,realFps=%u,dataAvailable=%u",
             row.start_time, row.end_time, static_cast<unsigned int>(now.tv_sec), row.realFps,
             row.dataAvailable);
  KTString where;
  where.format(" id=%u ", row.id);
  update_row(set, where, KTR_TableName[TB_RECORD_SESSIONS]);
}

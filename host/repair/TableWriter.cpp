#include "host/repair/TableWriter.h"

#include <cstdlib>

#include "db/KTROwnedResult.h"
#include "host/HostError.h"
#include "host/byevents/WindowTable.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTTimeValue.h"

namespace {

constexpr size_t ROWS_AT_ONCE = 500;

const char* tableOf(KTR_DBTable::KtrTableType type) {
  return KTR_DBTable::KTR_TableName[type].c_str();
}

const char* indexTable() {
  return tableOf(KTR_DBTable::TB_DATA_STREAMS);
}

const char* sessionTable() {
  return tableOf(KTR_DBTable::TB_RECORD_SESSIONS);
}

KTDataBlock blockOf(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()),
          static_cast<unsigned int>(text.size())};
}

}  // namespace

// A duplicate key counts as done with the library; here it is not.
void TableWriter::run(const KTString& statement) {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  expectSameConnection();
  const int result = handle_.db_do_query(statement);
  const unsigned int error = handle_.lastError();
  if (result == 0 && error == 0) return;
  throw failure("the database refuses a change (error " + std::to_string(error) + ")",
                "see the messages above, and repair again");
}

/** The number that the server gives to the connection; 0 when it does not answer. */
unsigned long TableWriter::connection() {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  KTROwnedResult result;
  if (handle_.get_query_result("SELECT CONNECTION_ID()", result) == 0) return 0;
  char** const row = handle_.fetch_row(result);
  return row == nullptr || row[0] == nullptr ? 0 : std::strtoul(row[0], nullptr, 10);
}

// A lost connection is mended behind our back, and its transaction is gone: what is sent from then
// on, the statement that met the loss included, is done at once, beside rows that are there again.
void TableWriter::expectSameConnection() {
  if (connection_ == 0 || connection() == connection_) return;
  throw failure("the connection to the database was lost while the rows of a session were written",
                "repair again");
}

std::string TableWriter::quoted(const std::string& text) {
  KTString escaped;
  if (text.empty() || handle_.escape_string(escaped, blockOf(text)) < 0) return "''";
  return "'" + std::string(escaped.view()) + "'";
}

void TableWriter::makeIndexTable() {
  (void)handle_.createDataStreamTable(0);
  handle_.destroyVideoStream(0);
}

unsigned int TableWriter::settingsId(const RecorderTables::Settings& settings) {
  const auto find = [&]() -> unsigned int {
    for (const auto& [id, known] : RecorderTables(&handle_).settings()) {
      if (known.text == settings.text && known.type == settings.type) return id;
    }
    return 0;
  };
  if (const unsigned int id = find()) return id;
  run(KTString("INSERT INTO " + std::string(tableOf(KTR_DBTable::TB_STREAM_SETTINGS)) +
               " (name,settings,streamType) VALUES (" + quoted(settings.name) + "," +
               quoted(settings.text) + "," + std::to_string(settings.type) + ")"));
  return find();
}

void TableWriter::addSession(const RecorderTables::Session& session) {
  KTString statement;
  statement.format(
      "REPLACE INTO %s (id,streamID,settingsID,start_time,end_time,update_time,dataAvailable,"
      "storage,streamType,realFps) VALUES (%u,%u,%u,%ld,%ld,%ld,%u,%s,%u,%u)",
      sessionTable(), session.id, session.stream, session.settings, session.start, session.end,
      static_cast<long>(KTTimeValue::now().tv_sec), session.available,
      quoted(session.storage).c_str(), session.type, session.fps);
  run(statement);
}

void TableWriter::updateSession(const RecorderTables::Session& session) {
  KTString statement;
  statement.format(
      "UPDATE %s SET streamID=%u,settingsID=%u,start_time=%ld,end_time=%ld,update_time=%ld,"
      "dataAvailable=%u,storage=%s,streamType=%u,realFps=%u WHERE id=%u",
      sessionTable(), session.stream, session.settings, session.start, session.end,
      static_cast<long>(KTTimeValue::now().tv_sec), session.available,
      quoted(session.storage).c_str(), session.type, session.fps, session.id);
  run(statement);
}

void TableWriter::removeSession(unsigned int session) {
  KTString statement;
  removeIndex(session);
  run(statement.format("DELETE FROM %s WHERE id=%u", sessionTable(), session));
}

void TableWriter::removeIndex(unsigned int session) {
  KTString statement;
  run(statement.format("DELETE FROM %s WHERE _id=%u", indexTable(), session));
}

void TableWriter::clearWindows() {
  KTString statement;
  if (handle_.tb_exists(WindowTable::NAME)) {
    run(statement.format("DELETE FROM %s", WindowTable::NAME));
  }
}

void TableWriter::begin() {
  pending_.clear();
  run("START TRANSACTION");
  connection_ = connection();
  if (connection_ == 0) throw failure("the database does not answer", "repair again");
}

void TableWriter::addRow(unsigned int session, const IndexRow& row) {
  session_ = session;
  pending_.push_back(row);
  if (pending_.size() == ROWS_AT_ONCE) flushRows();
}

void TableWriter::flushRows() {
  if (pending_.empty()) return;
  std::string statement = "INSERT IGNORE INTO " + std::string(indexTable()) +
                          " (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ";
  for (const IndexRow& row : pending_) {
    KTString values;
    values.format("%s(%u,%u,%u,%u,%u)", &row == pending_.data() ? "" : ",", session_, row.offset,
                  row.time, row.slice, row.delayUsec);
    statement += values.view();
  }
  pending_.clear();
  run(KTString(statement));
}

void TableWriter::commit() {
  flushRows();
  run("COMMIT");
  expectSameConnection();  // or it was another one's
  connection_ = 0;
}

bool TableWriter::abandon() {
  const bool lost = connection_ != 0 && connection() != connection_;
  pending_.clear();
  connection_ = 0;
  (void)handle_.db_do_query("ROLLBACK");
  return lost;
}

#include "host/check/RecorderTables.h"

#include <algorithm>
#include <cstdlib>

#include "db/KTROwnedResult.h"
#include "host/HostError.h"
#include "host/byevents/WindowTable.h"
#include "runtime/KTCriticalCode.h"

namespace {

constexpr unsigned int NO_SUCH_TABLE = 1146;
constexpr unsigned int AUTO_INCREMENT_COLUMN = 10;  // of SHOW TABLE STATUS

const char* indexTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS].c_str();
}

const char* sessionTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_RECORD_SESSIONS].c_str();
}

const char* settingsTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_STREAM_SETTINGS].c_str();
}

long asLong(const char* text) {
  return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
}

// Columns without a sign, which a long of 32 bits does not hold.
unsigned int asNumber(const char* text) {
  return text == nullptr ? 0 : static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
}

std::string asText(const char* text) {
  return text == nullptr ? "" : text;
}

}  // namespace

void RecorderTables::read(const KTString& query, const std::function<void(Row)>& take) {
  if (handle_ == nullptr) return;
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);  // the error is this query's own
  KTROwnedResult result;
  (void)handle_->get_query_result(query, result);
  const unsigned int error = handle_->lastError();
  if (error != 0 && error != NO_SUCH_TABLE) {
    throw failure("the database does not answer (error " + std::to_string(error) + ")",
                  "see the messages above, and try again");
  }
  while (Row row = handle_->fetch_row(result)) take(row);
}

// A recorder that has recorded nothing yet has no such table; asking it would log a warning.
bool RecorderTables::hasIndex() {
  if (!indexSeen_ && handle_ != nullptr) indexSeen_ = handle_->tb_exists(indexTable());
  return indexSeen_;
}

std::optional<long> RecorderTables::number(const KTString& query, unsigned int column) {
  std::optional<long> found;
  read(query, [&](Row row) {
    if (row[column] != nullptr) found = asLong(row[column]);
  });
  return found;
}

std::vector<RecorderTables::Session> RecorderTables::readSessions(const KTString& where) {
  KTString query;
  query.format(
      "SELECT id,streamID,settingsID,start_time,end_time,update_time,dataAvailable,storage,"
      "streamType,realFps FROM %s %s ORDER BY id",
      sessionTable(), where.c_str());
  std::vector<Session> found;
  read(query, [&](Row row) {
    found.push_back({asNumber(row[0]), asNumber(row[1]), asNumber(row[2]), asLong(row[3]),
                     asLong(row[4]), asLong(row[5]), asNumber(row[6]), asText(row[7]),
                     asNumber(row[8]), asNumber(row[9])});
  });
  return found;
}

std::optional<RecorderTables::Session> RecorderTables::session(unsigned int id) {
  KTString where;
  const std::vector<Session> found = readSessions(where.format("WHERE id=%u", id));
  return found.empty() ? std::nullopt : std::optional(found.front());
}

bool RecorderTables::isStartTaken(const Session& session) {
  KTString where;
  return !readSessions(where.format("WHERE streamID=%u AND start_time=%ld AND id<>%u",
                                    session.stream, session.start, session.id))
              .empty();
}

std::map<unsigned int, RecorderTables::Settings> RecorderTables::settings() {
  KTString query;
  query.format("SELECT id,name,settings,streamType FROM %s", settingsTable());
  std::map<unsigned int, Settings> found;
  read(query, [&](Row row) {
    found[asNumber(row[0])] = {asText(row[1]), asText(row[2]), asNumber(row[3])};
  });
  return found;
}

std::map<unsigned int, uint64_t> RecorderTables::rowsBySlice(unsigned int session) {
  if (!hasIndex()) return {};
  KTString query;
  query.format("SELECT _fileIndex,COUNT(*) FROM %s WHERE _id=%u GROUP BY _fileIndex", indexTable(),
               session);
  std::map<unsigned int, uint64_t> found;
  read(query, [&](Row row) { found[asNumber(row[0])] = asNumber(row[1]); });
  return found;
}

std::vector<RecorderTables::IndexRow> RecorderTables::rows(unsigned int session, unsigned int slice,
                                                           uint64_t fromOffset) {
  if (!hasIndex()) return {};
  KTString query;
  query.format(
      "SELECT _offset,_time FROM %s WHERE _id=%u AND _fileIndex=%u AND _offset>=%llu "
      "ORDER BY _offset,_time",
      indexTable(), session, slice, static_cast<unsigned long long>(fromOffset));
  std::vector<IndexRow> found;
  read(query, [&](Row row) { found.push_back({asNumber(row[0]), asNumber(row[1]), slice}); });
  return found;
}

std::set<long> RecorderTables::times(unsigned int session, long from, long to) {
  if (!hasIndex()) return {};
  KTString query;
  query.format("SELECT _time FROM %s WHERE _id=%u AND _time BETWEEN %ld AND %ld ORDER BY _time",
               indexTable(), session, from, to);
  std::set<long> found;
  read(query, [&](Row row) { found.insert(found.end(), asLong(row[0])); });
  return found;
}

std::optional<long> RecorderTables::firstTime(unsigned int session) {
  if (!hasIndex()) return {};
  KTString query;
  return number(query.format("SELECT MIN(_time) FROM %s WHERE _id=%u", indexTable(), session));
}

std::optional<long> RecorderTables::lastTime(unsigned int session) {
  if (!hasIndex()) return {};
  KTString query;
  return number(query.format("SELECT MAX(_time) FROM %s WHERE _id=%u", indexTable(), session));
}

std::map<unsigned int, uint64_t> RecorderTables::rowsWithoutSession() {
  if (!hasIndex()) return {};
  KTString query;
  query.format("SELECT _id,COUNT(*) FROM %s WHERE _id NOT IN (SELECT id FROM %s) GROUP BY _id",
               indexTable(), sessionTable());
  std::map<unsigned int, uint64_t> found;
  read(query, [&](Row row) { found[asNumber(row[0])] = asNumber(row[1]); });
  return found;
}

std::set<unsigned int> RecorderTables::windows() {
  std::set<unsigned int> found;
  if (handle_ == nullptr || !handle_->tb_exists(WindowTable::NAME)) return found;
  KTString query;
  query.format("SELECT id FROM %s", WindowTable::NAME);
  read(query, [&](Row row) { found.insert(asNumber(row[0])); });
  return found;
}

uint64_t RecorderTables::indexRows() {
  if (!hasIndex()) return {};
  KTString query;
  return static_cast<uint64_t>(
      number(query.format("SELECT COUNT(*) FROM %s", indexTable())).value_or(0));
}

unsigned int RecorderTables::nextId() {
  KTString query;
  query.format("SHOW TABLE STATUS LIKE '%s'", sessionTable());
  return static_cast<unsigned int>(number(query, AUTO_INCREMENT_COLUMN).value_or(0));
}

unsigned int RecorderTables::highestId() {
  KTString ofSessions;
  KTString ofIndex;
  ofSessions.format("SELECT MAX(id) FROM %s", sessionTable());
  ofIndex.format("SELECT MAX(_id) FROM %s", indexTable());
  const long inIndex = hasIndex() ? number(ofIndex).value_or(0) : 0;
  const std::set<unsigned int> listed = windows();
  const auto highest = static_cast<unsigned int>(std::max(number(ofSessions).value_or(0), inIndex));
  return listed.empty() ? highest : std::max(highest, *listed.rbegin());
}

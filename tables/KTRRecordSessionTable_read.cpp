// The readers of KTRRecordSessionTable: each builds one query and converts what comes back.
#include "db/KTROwnedResult.h"
#include "db/KTRTextGuard.h"
#include "tables/KTRFirstText.h"
#include "tables/KTRRecordSessionTable.h"

namespace {

constexpr uint32_t READ_FPS = 15;  // what a row that was read back says, whatever is stored
constexpr unsigned int LISTED_SESSIONS = 100;

const char* sessionsTable() {
  return KTR_DBTable::KTR_TableName[KTR_DBTable::TB_RECORD_SESSIONS].c_str();
}

uint32_t number(const char* text) {
  return KTString(text).toUInt(0);
}

unsigned int seconds(long time) {
  return static_cast<unsigned int>(time);
}

void fillRow(KTRRecorderSessionRow& row, char** columns) {
  row.id = number(columns[0]);
  row.streamID = number(columns[1]);
  row.settingsID = number(columns[2]);
  row.start_time = number(columns[3]);
  row.end_time = number(columns[4]);
  row.update_time = number(columns[5]);
  row.dataAvailable = number(columns[6]) != 0 ? 1 : 0;
  row.storage = columns[7];
  row.streamType = STREAM_UNKNOWN;
  row.realFps = READ_FPS;
}

void restrictToSettings(KTString& query, unsigned int settingsID) {
  if (settingsID == 0) return;
  KTString restriction;
  query += restriction.format(" AND settingsID=%u ", settingsID);
}

}  // namespace

// Both compilers warn of the '#', which changes nothing before a u.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
bool KTRRecordSessionTable::getRecordSessionRow(unsigned int id, KTRRecorderSessionRow& row) {
  KTString query;
  query.format("SELECT * FROM %s WHERE id=%#u ", sessionsTable(), id);
  return readFirstRow(query, row);
}

bool KTRRecordSessionTable::getRecordSessionRow(
    unsigned char streamID, long time, long span, unsigned int settingsID,
    KTRRecorderSessionRow& row,
    // NOLINTNEXTLINE(performance-unnecessary-value-param)
    KTString settings) {
  KTString query;
  query.format("SELECT * FROM %s WHERE streamID=%#u AND start_time<=%u AND end_time>=%u ",
               sessionsTable(), static_cast<unsigned int>(streamID), seconds(time + span),
               seconds(time));
  restrictToSettings(query, settingsID);
  query += " ORDER BY start_time LIMIT 2";

  KTROwnedResult candidates;
  if (get_query_result(query, candidates) == 0) return false;
  bool rejected = false;
  while (char** columns = fetch_row(candidates)) {
    if (rejected && number(columns[3]) > row.end_time) return true;
    fillRow(row, columns);
    if (settings.empty() || settingsContain(row.settingsID, settings)) return true;
    rejected = true;
  }
  return rejected;
}
#pragma GCC diagnostic pop

bool KTRRecordSessionTable::settingsContain(unsigned int settingsID, const KTString& settings) {
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, settings)) return false;
  KTString query;
  query.format("SELECT count(*) FROM %s WHERE id=%u AND settings like '%%,%s,%%' ",
               KTR_TableName[TB_STREAM_SETTINGS].c_str(), settingsID, settings.c_str());
  KTString matches;
  return KTRFirstText(*this, query, matches) && matches.toUInt(0) > 0;
}

bool KTRRecordSessionTable::getNextRecordSessionRow(unsigned char streamID, long time,
                                                    unsigned int settingsID,
                                                    KTRRecorderSessionRow& row) {
  KTString query;
  query.format("SELECT * FROM %s WHERE streamID=%u AND start_time>=%u ", sessionsTable(),
               static_cast<unsigned int>(streamID), seconds(time));
  restrictToSettings(query, settingsID);
  query += " order by start_time LIMIT 1";
  return readFirstRow(query, row);
}

bool KTRRecordSessionTable::readFirstRow(const KTString& query, KTRRecorderSessionRow& row) {
  KTROwnedResult result;
  char** columns = nullptr;
  if (!get_row(query, columns, result, 0)) return false;
  fillRow(row, columns);
  return true;
}

unsigned int KTRRecordSessionTable::getRecordSessionList(KTVector<KTString>& out,
                                                         const KTString& where, bool grouped) {
  KTString query;
  if (grouped) {
    query.format(
        "SELECT "
        "CONCAT(id,',',streamID,',',settingsID,',',MIN(start_time),',',MAX(end_time),',',"
        "dataAvailable,',',realFps) AS full_result FROM %s %s GROUP BY streamID,settingsID ORDER "
        "BY streamID,settingsID ",
        sessionsTable(), where.c_str());
  } else {
    query.format(
        "SELECT CONCAT(id,',',streamID,',',settingsID,',',start_time,',',end_time,',',"
        "dataAvailable,',',realFps) AS full_result FROM %s %s ",
        sessionsTable(), where.c_str());
  }
  out.clear();
  KTROwnedResult result;
  if (get_query_result(query, result) == 0) return 0;
  out.resize(num_rows(result));
  for (unsigned int i = 0; i < out.count(); ++i) {
    char** row = fetch_row(result);
    if (row != nullptr) out[i] = row[0];
  }
  return out.count();
}

int KTRRecordSessionTable::getOlderSessionID() {
  KTString query;
  query.format("SELECT id FROM %s WHERE dataAvailable>0 ORDER BY start_time LIMIT %u",
               sessionsTable(), 1U);
  KTString id;
  return KTRFirstText(*this, query, id) ? id.toInt(-1) : -1;
}

int KTRRecordSessionTable::getOlderSessionIDByPath(const KTString& path, long& startTime) {
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, path)) return -1;
  KTString query;
  query.format(
      "SELECT id,start_time FROM %s WHERE dataAvailable>0 AND storage LIKE '%s%%' ORDER BY "
      "start_time,end_time  LIMIT %u",
      sessionsTable(), path.c_str(), 1U);
  KTROwnedResult result;
  char** row = nullptr;
  if (!get_row(query, row, result, 0)) return -1;
  startTime = number(row[1]);
  return KTString(row[0]).toInt(-1);
}

unsigned int KTRRecordSessionTable::getOlderSessionIDListByPath(const KTString& path,
                                                                KTDLList<unsigned int>& ids) {
  ids.clear();
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, path)) return 0;
  KTString query;
  query.format(
      "SELECT DISTINCT id FROM %s WHERE dataAvailable>0 AND storage LIKE '%s%%' ORDER BY "
      "start_time  LIMIT %u",
      sessionsTable(), path.c_str(), LISTED_SESSIONS);
  KTROwnedResult result;
  if (get_query_result(query, result) == 0) return 0;
  while (char** row = fetch_row(result)) ids.append(number(row[0]));
  return ids.count;
}

long KTRRecordSessionTable::getMinStartTime() {
  KTString query;
  query.format("SELECT min(start_time) FROM %s", sessionsTable());
  KTString time;
  return KTRFirstText(*this, query, time) ? static_cast<long>(time.toUInt(0)) : -1;
}

KTString KTRRecordSessionTable::getSessionStorage(int id) {
  KTString query;
  query.format("SELECT storage FROM %s WHERE id=%u", sessionsTable(),
               static_cast<unsigned int>(id));
  KTString storage;
  return KTRFirstText(*this, query, storage) ? storage : KTString();
}

bool KTRRecordSessionTable::isIDExists(int id) {
  KTString query;
  query.format("SELECT id FROM %s WHERE id=%u", sessionsTable(), static_cast<unsigned int>(id));
  KTROwnedResult ignored;
  get_query_result(query, ignored);
  return true;
}

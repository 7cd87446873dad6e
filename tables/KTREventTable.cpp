#include "tables/KTREventTable.h"

#include "db/KTROwnedResult.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "tables/KTRFirstText.h"

namespace {

constexpr unsigned int NUMBERS = 5;
constexpr unsigned int TYPE_COLUMN = 4;
constexpr unsigned int DATA_COLUMN = 5;
constexpr unsigned int TYPE_MARK = 0x80000000U;

KTDataBlock eventRecord(char** row, const unsigned long* lengths) {
  unsigned int numbers[NUMBERS];
  for (unsigned int i = 0; i < NUMBERS; ++i) numbers[i] = KTString(row[i]).toUInt(0);
  numbers[TYPE_COLUMN] |= TYPE_MARK;
  KTDataBlock record(reinterpret_cast<const unsigned char*>(numbers), sizeof numbers);
  if (lengths != nullptr && lengths[DATA_COLUMN] != 0) {
    record += KTDataBlock(reinterpret_cast<const unsigned char*>(row[DATA_COLUMN]),
                          static_cast<unsigned int>(lengths[DATA_COLUMN]));
  }
  return record;
}

}  // namespace

KTREventTable::KTREventTable(MYSQL* connection) : KTR_DBTable(KTString(), connection) {
  _tableName = KTR_TableName[TB_EVENTS_LIST];
  _usable = create(_tableName, KTR_TableFields[TB_EVENTS_LIST]) == 0;
}

KTREventTable::~KTREventTable() = default;

const char* KTREventTable::name() const {
  return "KTREventTable";
}

int KTREventTable::addRow(const KTREventRow& row) {
  KTREventRow escaped(row);
  escape_string(escaped.escapedData, escaped.data);
  return insert_row(escaped.getQuery(), KTR_TableName[TB_EVENTS_LIST], true);
}

bool KTREventTable::deleteRow(unsigned int count) {
  KTString condition;
  condition.format("ORDER BY  timeStamp LIMIT %u", count);
  // Held across both calls: mysql_error() speaks of the connection's last query.
  const KTCriticalCode guard(_staticMysqlMux);
  const int result = delete_row(condition, _tableName);
  if (result == 0) return true;
  KTLogger::instance()->log(KTLogger::Error,
                            "[ DELETE EVENTS ] %u oldier events delete FAILED !! %u %s", count,
                            static_cast<unsigned int>(result), mysql_error(_mysql));
  return false;
}

bool KTREventTable::deleteRowByTime(long time) {
  const auto seconds = static_cast<unsigned int>(time);
  KTString condition;
  condition.format(" WHERE timeStamp< %u", seconds);
  const KTCriticalCode guard(_staticMysqlMux);
  const int result = delete_row(condition, _tableName);
  if (result == 0) return true;
  KTLogger::instance()->log(KTLogger::Error,
                            "[ DELETE EVENTS ] events delete by time %u FAILED !! %u %s", seconds,
                            static_cast<unsigned int>(result), mysql_error(_mysql));
  return false;
}

int KTREventTable::getEventData(unsigned int id, KTDataBlock& data) {
  KTString query;
  query.format("select data from %s  WHERE id=%u  LIMIT 1", _tableName.c_str(), id);
  KTROwnedResult result;
  char** row = nullptr;
  if (!get_row(query, row, result, 0)) return -1;
  const unsigned long* lengths = fetch_lengths(result);
  data.setData(reinterpret_cast<const unsigned char*>(row[0]),
               lengths == nullptr ? 0 : static_cast<unsigned int>(lengths[0]));
  return static_cast<int>(data.size);
}

unsigned int KTREventTable::getEventList(KTDLList<KTDataBlock>& list, const KTString& condition) {
  KTString query;
  query.format("SELECT id,sensorID,timeStamp,eventID,eventType,data FROM %s %s ",
               KTR_TableName[TB_EVENTS_LIST].c_str(), condition.c_str());
  const KTCriticalCode guard(_staticMysqlMux);
  KTROwnedResult result;
  if (get_query_result(query, result) == 0) return list.count;
  while (char** row = fetch_row(result)) list.append(eventRecord(row, fetch_lengths(result)));
  return list.count;
}

unsigned int KTREventTable::getEventIDList(KTDLList<KTString>& list, const KTString& condition) {
  KTString query;
  query.format("SELECT id FROM %s %s ", KTR_TableName[TB_EVENTS_LIST].c_str(), condition.c_str());
  return getQueryResultList(list, query);
}

unsigned int KTREventTable::getEventListNum(const KTString& condition) {
  KTString query;
  query.format("SELECT count(*) FROM %s %s ", KTR_TableName[TB_EVENTS_LIST].c_str(),
               condition.c_str());
  return firstNumber(query);
}

unsigned int KTREventTable::getMinTimeStamp(const KTString& condition) {
  KTString query;
  query.format("SELECT min(timeStamp) FROM %s %s", KTR_TableName[TB_EVENTS_LIST].c_str(),
               condition.c_str());
  return firstNumber(query);
}

unsigned int KTREventTable::firstNumber(const KTString& query) {
  KTString number;
  return KTRFirstText(*this, query, number) ? number.toUInt(0) : 0;
}

#include "tables/KTRStreamTable.h"

#include "db/KTROwnedResult.h"
#include "runtime/KTLogger.h"
#include "tables/KTRFirstText.h"

namespace {
// How far past the window a frame before it may still be taken.
constexpr long SLACK_SECONDS = 5;

unsigned int seconds(long time) {
  return static_cast<unsigned int>(time);
}
}  // namespace

KTRStreamTable::KTRStreamTable(unsigned int id, MYSQL* connection)
    : KTR_DBTable(KTString(), connection), _id(id) {
  _tableName = createName(id);
  _usable = create(_tableName, KTR_TableFields[TB_DATA_STREAMS]) == 0;
  if (!_usable) {
    KTLogger::instance()->log(KTLogger::Error, "[ KTRStreamTable constructor failed !!! ] ");
  }
}

KTRStreamTable::~KTRStreamTable() = default;

const char* KTRStreamTable::name() const {
  return "KTRStreamTable";
}

KTString KTRStreamTable::createName(unsigned int) {
  return KTR_TableName[TB_DATA_STREAMS];
}

unsigned int KTRStreamTable::addRow(const KTRVideoStreamRow& row) {
  return static_cast<unsigned int>(insert_row(row.getQuery(), _tableName, false));
}

bool KTRStreamTable::getFileIndexNOffset(long& time, unsigned char& fileIndex, unsigned int& offset,
                                         bool fromStart, long span) {
  const char* table = _tableName.c_str();
  KTString first;
  KTString second;
  if (fromStart) {
    first.format(
        "SELECT _offset,_fileIndex,_time FROM %s WHERE _id=%u AND _time>=%u ORDER BY  _time LIMIT "
        "1",
        table, _id, seconds(time));
    second = first;
  } else {
    first.format(
        "SELECT _offset,_fileIndex,_time FROM %s WHERE _id=%u AND _time>=%u and _time<=%u ORDER BY "
        " _time LIMIT 1",
        table, _id, seconds(time), seconds(time + span));
    second.format(
        "SELECT _offset,_fileIndex,_time FROM %s WHERE _id=%u AND _time<=%u ORDER BY  _time DESC "
        "LIMIT 1",
        table, _id, seconds(time + span + SLACK_SECONDS));
  }
  return findFrame(first, time, fileIndex, offset) || findFrame(second, time, fileIndex, offset);
}

bool KTRStreamTable::findFrame(const KTString& query, long& time, unsigned char& fileIndex,
                               unsigned int& offset) {
  KTROwnedResult result;
  char** row = nullptr;
  if (!get_row(query, row, result, 0)) return false;
  offset = KTString(row[0]).toUInt(0);
  fileIndex = static_cast<unsigned char>(KTString(row[1]).toInt(0));
  time = KTString(row[2]).toUInt(0);
  return true;
}

bool KTRStreamTable::getStreamIndexesList(long time, int step, int& first, int& second) {
  const char* table = KTR_TableName[TB_DATA_STREAMS].c_str();
  KTString query;
  if (step > 0) {
    KTLogger::instance()->log(KTLogger::Error, "REWIND ");
    query.format("SELECT * FROM %s WHERE _id=%u AND _time>%u ORDER BY _time LIMIT 1", table, _id,
                 seconds(time + step));
  } else {
    query.format("SELECT * FROM %s WHERE _id=%u AND _time<%u ORDER BY _time DESC LIMIT 1", table,
                 _id, seconds(time + step));
  }
  KTString columns[3];
  if (!leadingColumns(query, columns)) {
    KTLogger::instance()->log(KTLogger::Error, "[ getPrevKFrameList ] Failed !!! %s",
                              query.c_str());
    return false;
  }
  first = columns[2].toInt(0);
  second = columns[0].toInt(0);
  return true;
}

bool KTRStreamTable::leadingColumns(const KTString& query, KTString (&columns)[3]) {
  KTROwnedResult result;
  if (get_query_result(query, result) == 0) return false;
  while (char** row = fetch_row(result)) {
    for (unsigned int i = 0; i < 3; ++i) columns[i] = row[i];
  }
  return !columns[1].empty();
}

unsigned int KTRStreamTable::getDelayBetweenFrame(unsigned int offset, unsigned int fileIndex) {
  KTString query;
  query.format(
      "SELECT  _delayUsec FROM %s WHERE _id=%u AND _offset<=%u AND _fileIndex=%u ORDER BY _offset "
      "DESC LIMIT 1",
      _tableName.c_str(), _id, offset, fileIndex);
  KTString delay;
  return KTRFirstText(*this, query, delay) ? delay.toUInt(0) : 0;
}

unsigned int KTRStreamTable::getOlderKFrameTime() {
  KTString query;
  query.format("SELECT _time FROM %s WHERE _id=%u ORDER BY _time LIMIT 1", _tableName.c_str(), _id);
  KTString time;
  return KTRFirstText(*this, query, time) ? time.toUInt(0) : 0;
}

int KTRStreamTable::getOlderFileID() {
  KTString query;
  query.format("SELECT _fileIndex FROM %s WHERE _id=%u ORDER BY _time LIMIT 1", _tableName.c_str(),
               _id);
  KTString slice;
  return KTRFirstText(*this, query, slice) ? slice.toInt(-1) : -1;
}

#include "tables/KTRSettingsTable.h"

#include <cstdlib>
#include <cstring>

#include "db/KTROwnedResult.h"
#include "db/KTRTextGuard.h"
#include "runtime/KTLogger.h"
#include "tables/KTRFirstText.h"

namespace {

constexpr size_t NAME_ROOM = 20;  // bytes, the terminator included

// A longer name cannot have come from this library: whatever wrote it, the catalogue is damaged.
KTString checkedName(const char* stored, unsigned int id) {
  KTString name(stored);
  if (name.length() < NAME_ROOM) return name;
  KTLogger::instance()->log(
      KTLogger::Error,
      "[ getSettingsByID ] settings %u : the name has %u characters, 19 are allowed", id,
      name.length());
  std::abort();
}

}  // namespace

KTRSettingsTable::KTRSettingsTable(MYSQL* connection) : KTR_DBTable(KTString(), connection) {
  _tableName = KTR_TableName[TB_STREAM_SETTINGS];
  if (create(_tableName, KTR_TableFields[TB_STREAM_SETTINGS]) != 0) {
    KTLogger::instance()->log(KTLogger::Error,
                              "[ KTRSettingsTable constructor ] CREATE TABLE FAILED !!!");
  }
}

KTRSettingsTable::~KTRSettingsTable() = default;

const char* KTRSettingsTable::name() const {
  return "KTRSettingsTable";
}

// Both compilers warn of the '#', which changes nothing before a d.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
int KTRSettingsTable::getSettingsID(const KTRSettingsRow& row) {
  if (!KTRTextGuard::allows(KTRTextGuard::Quoted, row.name) ||
      !KTRTextGuard::allows(KTRTextGuard::Quoted, row.settings)) {
    return -1;
  }
  KTString query;
  query.format("SELECT id FROM %s WHERE name='%s' AND settings='%s'  AND streamType=%#d LIMIT 1",
               KTR_TableName[TB_STREAM_SETTINGS].c_str(), row.name.c_str(), row.settings.c_str(),
               static_cast<int>(row.streamType));
  KTString id;
  return KTRFirstText(*this, query, id) ? id.toInt(-1) : -1;
}
#pragma GCC diagnostic pop

bool KTRSettingsTable::getSettingsByID(unsigned int id, KTRSettingsRow& row) {
  KTString query;
  query.format("SELECT  name,settings,streamType FROM %s WHERE id=%ld",
               KTR_TableName[TB_STREAM_SETTINGS].c_str(), static_cast<long>(id));
  KTROwnedResult result;
  char** columns = nullptr;
  if (!get_row(query, columns, result, 0)) return false;
  row.name = checkedName(columns[0], id);
  row.settings = columns[1];
  row.streamType = static_cast<streamTypes>(KTString(columns[2]).toInt(0));
  row.parse();
  return true;
}

unsigned int KTRSettingsTable::getVideoSettingsList(KTDLList<KTString>& list,
                                                    const KTString& condition) {
  KTString query;
  query.format("SELECT * FROM %s %s ", _tableName.c_str(), condition.c_str());
  return getQueryResultList(list, query);
}

#include "db/KTR_DBTable.h"

#include "db/KTROwnedResult.h"
#include "db/KTRSettingsRow.h"
#include "db/KTRTextGuard.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "runtime/LoadOrder.h"

KTR_LOAD_TABLE_NAMES const KTString KTR_DBTable::KTR_TableName[4] = {
    "dataStreams", "recordSessions", "streamSettings", "eventsList"};

KTR_LOAD_TABLE_FIELDS const KTString KTR_DBTable::KTR_TableFields[4] = {
    "_id INT UNSIGNED, _offset INT UNSIGNED ,_time INT UNSIGNED, _fileIndex TINYINT UNSIGNED , "
    "_delayUsec INT UNSIGNED, PRIMARY KEY (_id, _time), INDEX idx_id_file(_id,_fileindex) ",

    "id INT UNSIGNED AUTO_INCREMENT NOT NULL, streamID TINYINT UNSIGNED , settingsID INT UNSIGNED "
    ", start_time INT UNSIGNED,end_time INT UNSIGNED,update_time INT UNSIGNED, dataAvailable CHAR, "
    "storage CHAR(255),streamType CHAR(1),realFps INT UNSIGNED,PRIMARY KEY (id), "
    "UNIQUE(streamID, settingsID , start_time, streamType), INDEX idx_dataavail(dataAvailable), "
    "INDEX idx_storage(storage) ",

    "id INT UNSIGNED AUTO_INCREMENT NOT NULL,name CHAR(20) , settings CHAR(255),"
    "streamType CHAR(1),PRIMARY KEY (id), UNIQUE(settings,streamType)",

    "id INT UNSIGNED AUTO_INCREMENT NOT NULL, sensorID INT UNSIGNED,timeStamp INT UNSIGNED,"
    "eventID INT UNSIGNED, eventType INT UNSIGNED,data LONGBLOB,PRIMARY KEY (id), "
    "INDEX evt_idx_sensorID(sensorID), INDEX evt_idx_senstime(sensorID, timeStamp) "};

KTR_DBTable::KTR_DBTable(const KTString& name, MYSQL* connection)
    : KTR_MYSQL_api(connection), _tableName(name) {}

KTR_DBTable::~KTR_DBTable() = default;

const char* KTR_DBTable::name() const {
  return "KTR_DBTable";
}

KTString& KTR_DBTable::getName() {
  return _tableName;
}

void KTR_DBTable::_describe() {
  describe(_tableName);
}

void KTR_DBTable::display() {
  const KTCriticalCode guard(_staticMysqlMux);
  KTROwnedResult r;
  if (get_query_result(KTString().format("select * from %s", _tableName.c_str()), r) == 0) return;
  KTLogger::instance()->log(KTLogger::Information, "Data Table : %s", _tableName.c_str());
  logRows(r, "ROW: ");
}

// The mutex spans the look and the creation, so that no two threads both miss the table.
int KTR_DBTable::create(const KTString& name, const KTString& fields) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return -1;
  if (tb_exists(name)) return 0;
  const int result = create_tb(name, fields);
  if (result != 0) {
    KTLogger::instance()->log(KTLogger::Error,
                              "[ CREATE_TABLE ] creation failed: table: %s res='%x ", name.c_str(),
                              static_cast<unsigned int>(result));
  }
  return result;
}

// Of the rows that are added here, settings alone hold texts of the host.
int KTR_DBTable::addKTRRow(const KTRRow& row, KtrTableType type) {
  const auto* settings = dynamic_cast<const KTRSettingsRow*>(&row);
  if (settings != nullptr && (!KTRTextGuard::allows(KTRTextGuard::Quoted, settings->name) ||
                              !KTRTextGuard::allows(KTRTextGuard::Quoted, settings->settings))) {
    return -1;
  }
  return insert_row(row.getQuery(), KTR_TableName[type], true);
}

#include "handles/KTR_DB_handle.h"

#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"

KTR_DB_handle::KTR_DB_handle(const KTString& name) {
  const KTCriticalCode registry(_mutex);
  {
    const KTCriticalCode guard(_staticMysqlMux);
    _mysql = _mysql_init();
  }
  if (db_connect(name) == nullptr) {
    KTLogger::instance()->log(KTLogger::Error, "[ KTR_DB_handle construct failed for %s !]",
                              name.c_str());
    return;
  }
  if (!name.empty()) _dbName = name;
  openTables();
}

void KTR_DB_handle::openTables() {
  _recordSessionTable = std::make_unique<KTRRecordSessionTable>(_mysql);
  _eventTable = std::make_unique<KTREventTable>(_mysql);
  if (!_eventTable->usable()) _eventTable.reset();
  _settingsTable = std::make_unique<KTRSettingsTable>(_mysql);
}

KTR_DB_handle::~KTR_DB_handle() {
  destroyStreamTables();
  // Now, while the connection is up: the table's own last flush then finds nothing to write.
  if (isConnected()) _recordSessionTable->updateDataBase(true);
  db_disconnect();
}

void KTR_DB_handle::destroyStreamTables() {
  const KTCriticalCode guard(_mutex);
  for (KTRStreamTable* table : _streamTables) delete table;
  _streamTables.clear();
  _streamsById.clear();
}

// A handle that is played from comes to hold thousands of tables: none is looked for one by one.
KTRStreamTable* KTR_DB_handle::streamInstance(unsigned int id) {
  const KTCriticalCode guard(_mutex);
  const auto first = _streamsById.lower_bound(id);
  if (first != _streamsById.end() && first->first == id) return first->second->value;
  if (!isConnected() || !tb_exists(KTR_DBTable::KTR_TableName[KTR_DBTable::TB_DATA_STREAMS])) {
    return nullptr;
  }
  return createDataStreamTable(id);
}

KTRStreamTable* KTR_DB_handle::createDataStreamTable(unsigned int id) {
  if (!isConnected()) return nullptr;
  const KTCriticalCode guard(_mutex);
  auto table = std::make_unique<KTRStreamTable>(id, _mysql);
  if (!table->usable()) return nullptr;
  registerVideoStreamTable(table.get());
  return table.release();
}

void KTR_DB_handle::registerVideoStreamTable(KTRStreamTable* table) {
  if (table == nullptr) return;
  const KTCriticalCode guard(_mutex);
  _streamsById.emplace(table->sessionID(), _streamTables.append(table));
}

void KTR_DB_handle::destroyVideoStream(unsigned int id) {
  const KTCriticalCode guard(_mutex);
  const auto first = _streamsById.lower_bound(id);
  if (first == _streamsById.end() || first->first != id) return;
  delete first->second->value;
  _streamTables.remove(first->second);
  _streamsById.erase(first);
}

KTString KTR_DB_handle::getPrefixFileName(int id) const {
  KTString prefix;
  prefix.format("record_%s_R%u_", _dbName.c_str(), static_cast<unsigned int>(id));
  return prefix;
}

KTString KTR_DB_handle::getFullPrefixFileName(int id) {
  const KTString storage =
      isConnected() ? _recordSessionTable->getSessionStorage(id) : KTString::EmptyString;
  KTString prefix;
  prefix.format("%s/%s", storage.c_str(), getPrefixFileName(id).c_str());
  return prefix;
}

KTString KTR_DB_handle::getAudioHeaderFilename(int id) {
  KTString name;
  name.format("%saudioHeader.dat", getFullPrefixFileName(id).c_str());
  return name;
}

void KTR_DB_handle::dbInfo() {
  if (_recordSessionTable != nullptr) _recordSessionTable->_describe();
  if (_eventTable != nullptr) _eventTable->_describe();
  if (_settingsTable != nullptr) _settingsTable->_describe();
  const KTCriticalCode guard(_mutex);
  for (KTRStreamTable* table : _streamTables) table->_describe();
}

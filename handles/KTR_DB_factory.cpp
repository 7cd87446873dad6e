#include "handles/KTR_DB_factory.h"

#include <memory>

#include "db/KTRTextGuard.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRDBName.h"

KTR_DB_factory* KTR_DB_factory::_instance = nullptr;

KTR_DB_factory::KTR_DB_factory() {
  _instance = this;
  const KTCriticalCode list(_mux);
  {
    const KTCriticalCode guard(_staticMysqlMux);
    _mysql = _mysql_init();
  }
  if (db_connect(KTString::EmptyString) == nullptr) {
    KTLogger::instance()->log(KTLogger::Error, "Fatal Error CAN't connect to DATABASE !");
  }
}

KTR_DB_factory::~KTR_DB_factory() {
  const KTCriticalCode guard(_mux);
  db_disconnect();
}

KTR_DB_factory* KTR_DB_factory::instance() {
  return _instance;
}

void KTR_DB_factory::info() {
  const KTCriticalCode guard(_mux);
  KTLogger::instance()->log(KTLogger::Information, "DB FACTORY INFO");
}

void KTR_DB_factory::add(KTR_DB_handle* handle) {
  const KTCriticalCode guard(_mux);
  _dbList.append(handle);
}

KTR_DB_handle* KTR_DB_factory::loadDB(const KTString& name) {
  const KTCriticalCode guard(_mux);
  auto handle = std::make_unique<KTR_DB_handle>(name);
  add(handle.get());
  return handle.release();
}

KTR_DB_handle* KTR_DB_factory::db_instance(const KTString& name) {
  const KTCriticalCode guard(_mux);
  const KTString dbName = KTRDBName(name);
  KTR_DB_handle* handle = findLoaded(dbName);
  if (handle == nullptr && KTRTextGuard::allows(KTRTextGuard::Name, dbName) && db_exists(dbName)) {
    handle = openExisting(dbName);
  }
  if (handle == nullptr) {
    KTLogger::instance()->log(KTLogger::Error, "[ db_instance ] '%s' not Exist and not Loaded !",
                              dbName.c_str());
  }
  return handle;
}

KTR_DB_handle* KTR_DB_factory::findLoaded(const KTString& dbName) {
  for (KTR_DB_handle* handle : _dbList) {
    if (handle->getName() == dbName) return handle;
  }
  return nullptr;
}

// A handle that could not connect has no name to be found under again, so it is not kept.
KTR_DB_handle* KTR_DB_factory::openExisting(const KTString& dbName) {
  auto handle = std::make_unique<KTR_DB_handle>(dbName);
  if (!handle->isConnected()) return nullptr;
  add(handle.get());
  return handle.release();
}

KTR_DB_handle* KTR_DB_factory::createDB(const KTString& name) {
  const KTCriticalCode guard(_mux);
  const KTString dbName = KTRDBName(name);
  if (!KTRTextGuard::allows(KTRTextGuard::Name, dbName)) return nullptr;
  if (!db_exists(dbName) && create_db(dbName) != 0) return nullptr;
  return db_instance(name);
}

KTR_DB_handle* KTR_DB_factory::dbIsLoaded(const KTString& name) {
  const KTCriticalCode guard(_mux);
  return db_instance(name);
}

bool KTR_DB_factory::deleteDB(const KTString& name) {
  const KTCriticalCode guard(_mux);
  if (!isDbInitialized()) return false;
  const KTR_DB_handle* handle = db_instance(name);
  if (handle == nullptr) return false;
  if (handle->getName() == "null") return true;
  if (drop_db(name) != 0) return false;
  destroy(db_instance(name));
  return true;
}

void KTR_DB_factory::destroy(KTR_DB_handle* handle) {
  const KTCriticalCode guard(_mux);
  for (auto* node = _dbList.head.next; node != &_dbList.head; node = node->next) {
    if (node->value != handle) continue;
    delete handle;
    _dbList.remove(node);
    return;
  }
}

unsigned int KTR_DB_factory::dbList(KTDLList<KTString>& list) {
  const KTCriticalCode guard(_mux);
  return getDbList(list, KTRDBName("%"));
}

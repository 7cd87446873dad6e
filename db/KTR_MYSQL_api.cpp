#include "db/KTR_MYSQL_api.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

#include "db/KTROwnedResult.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "runtime/KTTask.h"
#include "runtime/LoadOrder.h"

KTR_LOAD_MYSQL_MUTEX KTThreadMutex KTR_MYSQL_api::_staticMysqlMux(KTThreadMutex::Recursive,
                                                                  KTThreadMutex::Connection);

namespace {

constexpr unsigned int LOCK_WAIT_TIMEOUT = 1205;
constexpr unsigned int DUPLICATE_KEY = 1062;
constexpr unsigned int FIRST_CLIENT_ERROR = 2000;
constexpr unsigned int LAST_CLIENT_ERROR = 2013;
constexpr int LOCK_WAIT_REPEATS = 2;
constexpr int MAX_RECONNECTS = 31;

KTLogger* logger() {
  return KTLogger::instance();
}

struct Structure {
  KTString database;  // that it was last connected to
  bool initialised = false;
};

// What is known of each connection structure. The client library forgets the database when a
// connect fails, and the tables share a structure by its address alone. Never destroyed, for hosts
// whose static objects disconnect late.
std::map<MYSQL*, Structure>& structures() KTR_REQUIRES(KTR_MYSQL_api::_staticMysqlMux) {
  static auto* const all = new std::map<MYSQL*, Structure>;
  return *all;
}

MYSQL* initialise(MYSQL* connection) KTR_REQUIRES(KTR_MYSQL_api::_staticMysqlMux) {
  Structure& structure = structures()[connection];
  structure.initialised = mysql_init(connection) != nullptr;
  if (structure.initialised) return connection;
  logger()->log(KTLogger::Error, "mysql_init failed: no memory");
  return nullptr;
}

bool isClientError(unsigned int error) {
  return error >= FIRST_CLIENT_ERROR && error <= LAST_CLIENT_ERROR;
}

int send(MYSQL* connection, const KTString& query) {
  return mysql_real_query(connection, query.c_str(), query.length());
}

KTString joined(MYSQL_ROW row, unsigned int columns) {
  KTString text;
  for (unsigned int i = 0; i < columns; ++i) {
    if (!text.empty()) text += ",";
    text += row[i];
  }
  return text;
}

}  // namespace

KTR_MYSQL_api::KTR_MYSQL_api() : _mysql(nullptr), _connection() {
  const auto number = static_cast<unsigned int>(reinterpret_cast<uintptr_t>(this));
  if (mysql_thread_safe() != 0) {
    logger()->log(KTLogger::Information, "[%u] Mysql Client is COMPILED Thread SAFE ! ", number);
  } else {
    logger()->log(KTLogger::Error, "[%u] Mysql Client is not Thread SAFE ! ", number);
  }
}

KTR_MYSQL_api::KTR_MYSQL_api(MYSQL* shared) : _mysql(shared), _connection() {
  if (shared == nullptr) return;
  const KTCriticalCode guard(_staticMysqlMux);
  structures().try_emplace(shared, Structure{KTString(), true});
}

KTR_MYSQL_api::~KTR_MYSQL_api() = default;

bool KTR_MYSQL_api::isDbInitialized() {
  const KTCriticalCode guard(_staticMysqlMux);
  if (_mysql != nullptr && structures()[_mysql].initialised) return true;
  // A closed structure is of no use to the client library until it is initialised again.
  MYSQL* const connection = _mysql == nullptr ? _mysql_init() : initialise(_mysql);
  if (connection == nullptr) {
    logger()->log(KTLogger::Error, "database not initialized !!");
    return false;
  }
  _mysql = connection;
  return true;
}

MYSQL* KTR_MYSQL_api::_mysql_init() {
  const KTCriticalCode guard(_staticMysqlMux);
  structures().erase(&_connection);
  return initialise(&_connection);
}

MYSQL* KTR_MYSQL_api::db_connect(const KTString& dbName) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return nullptr;
  // Given anew for each attempt: a failed one makes the client library forget its options.
  mysql_options(_mysql, MYSQL_READ_DEFAULT_GROUP, "");
  if (mysql_real_connect(_mysql, nullptr, nullptr, nullptr, dbName.c_str(), 0, nullptr, 0) ==
      nullptr) {
    logger()->log(KTLogger::Error, "mysql_real_connect failed: %s!", mysql_error(_mysql));
    return nullptr;
  }
  structures()[_mysql].database = dbName;
  return _mysql;
}

void KTR_MYSQL_api::db_disconnect() {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return;
  mysql_close(_mysql);
  structures().erase(_mysql);
}

int KTR_MYSQL_api::db_do_query(const KTString& query) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return -1;
  const int result = sendThroughLockWaits(query);
  if (result == 0 || mysql_errno(_mysql) == DUPLICATE_KEY) return 0;
  if (isClientError(mysql_errno(_mysql)) && reconnect(query)) {
    if (send(_mysql, query) == 0 || mysql_errno(_mysql) == DUPLICATE_KEY) return 0;
  }
  logger()->log(KTLogger::Warning, "[ DO QUERY ] [ %s ] Error:%d Desc:%s", query.c_str(),
                static_cast<int>(mysql_errno(_mysql)), mysql_error(_mysql));
  return result;
}

int KTR_MYSQL_api::sendThroughLockWaits(const KTString& query) {
  int result = send(_mysql, query);
  for (int i = 0; i < LOCK_WAIT_REPEATS; ++i) {
    if (result == 0 || mysql_errno(_mysql) != LOCK_WAIT_TIMEOUT) break;
    result = send(_mysql, query);
  }
  return result;
}

bool KTR_MYSQL_api::reconnect(const KTString& query) {
  logger()->log(KTLogger::Warning, "[ DO QUERY ] [ %s ] first error:%d Desc:%s", query.c_str(),
                static_cast<int>(mysql_errno(_mysql)), mysql_error(_mysql));
  const KTString name = structures()[_mysql].database;
  // The client library refuses a structure whose socket the error has left open, and connecting
  // one that was connected before leaks what it holds.
  mysql_close(_mysql);
  initialise(_mysql);
  for (int attempt = 0; attempt < MAX_RECONNECTS; ++attempt) {
    logger()->log(KTLogger::Warning, "[ DO QUERY ] trying reconnect db [ %s ]", name.c_str());
    if (db_connect(name) != nullptr) {
      logger()->log(KTLogger::Warning, "[ DO QUERY ] success reconnect db [ %s ]", name.c_str());
      return true;
    }
    logger()->log(KTLogger::Warning, "[ DO QUERY ] failed reconnect db [ %s ] Error:%d Desc:%s",
                  name.c_str(), static_cast<int>(mysql_errno(_mysql)), mysql_error(_mysql));
    // NOLINTNEXTLINE(cert-msc50-cpp,concurrency-mt-unsafe): any spread will do; the mutex is held
    KTTask::Sleep(KTTimeValue(1, rand() % 100000));
  }
  return false;
}

unsigned int KTR_MYSQL_api::lastError() {
  const KTCriticalCode guard(_staticMysqlMux);
  return _mysql == nullptr ? 0 : mysql_errno(_mysql);
}

bool KTR_MYSQL_api::store_result(int queryResult, KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (queryResult != 0 || !isDbInitialized()) return false;
  r.res = mysql_store_result(_mysql);
  if (r.res == nullptr) return false;
  r.numFields = num_fields(r);
  r.numRows = num_rows(r);
  if (r.numRows != 0) return true;
  r.free();
  return false;
}

MYSQL_ROW KTR_MYSQL_api::fetch_row(KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  return r.res == nullptr ? nullptr : mysql_fetch_row(r.res);
}

unsigned long* KTR_MYSQL_api::fetch_lengths(KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  return r.res == nullptr ? nullptr : mysql_fetch_lengths(r.res);
}

unsigned KTR_MYSQL_api::num_fields(KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  return r.res == nullptr ? 0 : mysql_num_fields(r.res);
}

unsigned KTR_MYSQL_api::num_rows(KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  return r.res == nullptr ? 0 : static_cast<unsigned>(mysql_num_rows(r.res));
}

int KTR_MYSQL_api::get_query_result(const KTString& query, KTRResult& r) {
  const KTCriticalCode guard(_staticMysqlMux);
  return store_result(db_do_query(query), r) ? static_cast<int>(r.numFields) : 0;
}

bool KTR_MYSQL_api::get_row(const KTString& query, char**& row, KTRResult& r, unsigned int) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!store_result(db_do_query(query), r)) return false;
  row = r.numFields == 0 ? nullptr : fetch_row(r);
  return row != nullptr;
}

unsigned KTR_MYSQL_api::getQueryResultList(KTDLList<KTString>& list, const KTString& query) {
  const KTCriticalCode guard(_staticMysqlMux);
  KTROwnedResult r;
  if (store_result(db_do_query(query), r)) {
    while (MYSQL_ROW row = fetch_row(r)) list.append(joined(row, r.numFields));
  }
  return list.count;
}

bool KTR_MYSQL_api::hasRow(const KTString& query) {
  KTROwnedResult r;
  char** row = nullptr;
  return get_row(query, row, r, 0);
}

bool KTR_MYSQL_api::lock(const KTString& tables) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (db_do_query(KTString().format("LOCK TABLES %s WRITE ", tables.c_str())) == 0) return true;
  logger()->log(KTLogger::Error, "[ ERROR LOCK_DB ] LOCK TABLES %s ", tables.c_str());
  return false;
}

bool KTR_MYSQL_api::unlock() {
  const KTCriticalCode guard(_staticMysqlMux);
  if (db_do_query("UNLOCK TABLES") == 0) return true;
  logger()->log(KTLogger::Error, "[ UNLOCK_DB ] UNLOCK TABLES ");
  return false;
}

int KTR_MYSQL_api::insert_row(const KTString& values, const KTString& table, bool wantId) {
  const KTCriticalCode guard(_staticMysqlMux);
  const int result =
      db_do_query(KTString().format("INSERT INTO %s %s", table.c_str(), values.c_str()));
  if (!wantId) return result;
  return result == 0 ? static_cast<int>(getLastInsertedID(_mysql)) : -1;
}

int KTR_MYSQL_api::update_row(const KTString& set, const KTString& where, const KTString& table) {
  const KTCriticalCode guard(_staticMysqlMux);
  return db_do_query(
      KTString().format("UPDATE %s SET %s WHERE %s ", table.c_str(), set.c_str(), where.c_str()));
}

int KTR_MYSQL_api::delete_row(const KTString& condition, const KTString& table) {
  const KTCriticalCode guard(_staticMysqlMux);
  return db_do_query(KTString().format("DELETE FROM  %s  %s", table.c_str(), condition.c_str()));
}

unsigned KTR_MYSQL_api::getLastInsertedID(MYSQL* conn) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return static_cast<unsigned>(-1);
  return static_cast<unsigned>(mysql_insert_id(conn));
}

int KTR_MYSQL_api::escape_string(KTString& out, const KTDataBlock& in) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!isDbInitialized()) return -1;
  std::vector<char> scratch(2 * static_cast<size_t>(in.size) + 1);
  const char* const bytes = reinterpret_cast<const char*>(in.data);
  const auto length = static_cast<unsigned int>(
      mysql_real_escape_string(_mysql, scratch.data(), bytes == nullptr ? "" : bytes, in.size));
  out = KTString(scratch.data(), length);
  return static_cast<int>(length);
}

int KTR_MYSQL_api::create_db(const KTString& name) {
  return db_do_query(KTString().format("CREATE DATABASE IF NOT EXISTS %s", name.c_str()));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes fields by value
int KTR_MYSQL_api::create_tb(const KTString& name, KTString fields) {
  return db_do_query(KTString().format("CREATE TABLE IF NOT EXISTS %s ( %s ) ENGINE = InnoDB ",
                                       name.c_str(), fields.c_str()));
}

int KTR_MYSQL_api::drop_db(const KTString& name) {
  const KTCriticalCode guard(_staticMysqlMux);
  if (!lock(name)) return -1;
  const int result = db_do_query(KTString().format("DROP DATABASE IF EXISTS  %s ", name.c_str()));
  unlock();
  return result;
}

bool KTR_MYSQL_api::db_exists(const KTString& name) {
  const KTCriticalCode guard(_staticMysqlMux);
  return hasRow(KTString().format("SHOW DATABASES LIKE '%s' ", name.c_str()));
}

bool KTR_MYSQL_api::tb_exists(const KTString& name) {
  const KTCriticalCode guard(_staticMysqlMux);
  return hasRow(KTString().format("SHOW TABLE STATUS LIKE '%s' ", name.c_str()));
}

unsigned KTR_MYSQL_api::countRows(const KTString& query) {
  KTDLList<KTString> counts;
  return getQueryResultList(counts, query) == 0 ? 0 : counts.head.next->value.toUInt(0);
}

unsigned KTR_MYSQL_api::tb_rownum(const KTString& table) {
  return countRows(KTString().format("SELECT count(*) FROM %s", table.c_str()));
}

unsigned KTR_MYSQL_api::tb_rownum(const KTString& table, const KTString& condition) {
  return countRows(
      KTString().format("SELECT count(*) FROM %s %s ", table.c_str(), condition.c_str()));
}

bool KTR_MYSQL_api::tb_isempty(const KTString& table) {
  return tb_rownum(table) == 0;
}

unsigned KTR_MYSQL_api::getTbList(KTDLList<KTString>& list, const KTString& pattern) {
  if (pattern.empty()) return getQueryResultList(list, "SHOW TABLES");
  return getQueryResultList(list, KTString().format("SHOW TABLES LIKE '%s' ", pattern.c_str()));
}

unsigned KTR_MYSQL_api::getDbList(KTDLList<KTString>& list, const KTString& pattern) {
  if (pattern.empty()) return getQueryResultList(list, "SHOW DATABASES");
  return getQueryResultList(list, KTString().format("SHOW DATABASES LIKE '%s' ", pattern.c_str()));
}

void KTR_MYSQL_api::describe(const KTString& table) {
  const KTCriticalCode guard(_staticMysqlMux);
  logger()->log(KTLogger::Information, "Describe Table : %s", table.c_str());
  KTROwnedResult r;
  if (get_query_result(KTString().format("describe %s", table.c_str()), r) == 0) return;
  logRows(r, "Field: ");
}

void KTR_MYSQL_api::logRows(KTRResult& r, const char* head) {
  while (MYSQL_ROW row = fetch_row(r)) {
    logger()->log(KTLogger::Information, "%s", head);
    for (unsigned int i = 0; i < r.numFields; ++i) {
      logger()->log(KTLogger::Information, "\t%s", row[i] == nullptr ? "NULL" : row[i]);
    }
  }
}

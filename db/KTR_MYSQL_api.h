#pragma once

#include <mysql.h>

#include "containers/KTDLList.h"
#include "db/KTRResult.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"
#include "runtime/KTThreadMutex.h"
#include "runtime/ThreadAnnotations.h"

/**
 * The one door to the MySQL server: a client connection with its SQL. Every statement of the
 * library goes through db_do_query(), which repeats a statement after a lock-wait time-out, counts
 * a duplicate key as success and mends a lost connection.
 *
 * A connection is initialised by the first operation that needs it, connected by db_connect() and
 * closed by db_disconnect() only: destroying the object leaves it open. Host, account and socket
 * come from the client library's option files.
 *
 * Owns: the connection, unless it was given one to share (the tables of a database share theirs).
 * Threads: any thread. All connections of the process are served one at a time, under
 *     _staticMysqlMux, which callers hold themselves where several operations must stay together.
 * Blocks: for the server; while it is away, a statement waits about half a minute for its return
 *     and every other thread that wants the database waits with it.
 * Errors: by result and log line. Write operations answer 0, or what the client library answered
 *     (1 for an SQL error, -1 for a lost connection); read operations answer nothing: 0, false,
 *     null or an unchanged list.
 */
class KTR_API KTR_MYSQL_api {
 public:
  /** Guards every call into the client library; recursive, last in the lock order. */
  static KTThreadMutex _staticMysqlMux;

  /** Logs whether the client library is thread-safe. Does not connect. */
  KTR_MYSQL_api();
  KTR_MYSQL_api(const KTR_MYSQL_api&) = delete;
  KTR_MYSQL_api& operator=(const KTR_MYSQL_api&) = delete;
  /** Leaves the connection as it is. */
  virtual ~KTR_MYSQL_api();

  /** Initialises the connection if that has not been done; false when memory is short. */
  bool isDbInitialized();
  /** Initialises the object's own connection structure without putting it to use; or null. */
  MYSQL* _mysql_init();
  /** Connects to a database, or to none when the name is empty. The connection, or null. */
  MYSQL* db_connect(const KTString& dbName);
  /** Closes the connection, which may be connected again. */
  void db_disconnect();
  /**
   * Sends one statement, zero bytes included. 0 when it succeeded or failed for a duplicate key
   * only; -1 without memory for a connection; otherwise the client library's result.
   */
  int db_do_query(const KTString& query);
  /**
   * The error number of the connection's last call, 0 after a success. It tells a duplicate key
   * (1062) from a success, when it is asked for under the mutex that was held for the statement.
   */
  [[nodiscard]] unsigned int lastError();

  /**
   * Takes the result set of a statement whose db_do_query() result is given. True when it has at
   * least one row: r.res must then be freed. Otherwise nothing has to be freed, and r is untouched
   * when the statement had failed.
   */
  bool store_result(int queryResult, KTRResult& r);
  /** The next row, or null. It lives as long as the set. */
  MYSQL_ROW fetch_row(KTRResult& r);
  /** The byte lengths of the columns of the row fetched last, or null. */
  unsigned long* fetch_lengths(KTRResult& r);
  unsigned num_fields(KTRResult& r);
  unsigned num_rows(KTRResult& r);
  /** Runs a query and stores its set in r: the number of columns, 0 when there is no row. */
  int get_query_result(const KTString& query, KTRResult& r);
  /**
   * Runs a query and fetches its first row. False without a row; row is then null or as it was.
   * Whatever the answer, r.res must be freed when it is set. The last argument has no effect.
   */
  bool get_row(const KTString& query, char**& row, KTRResult& r, unsigned int unused);
  /**
   * Appends a text for each row of a query: its columns in order, each with a comma before it
   * unless the text is still empty; a null column is an empty one. The number of elements in the
   * list.
   */
  unsigned getQueryResultList(KTDLList<KTString>& list, const KTString& query);

  /** Locks tables, named between commas, for writing. */
  bool lock(const KTString& tables);
  bool unlock();
  /**
   * Inserts a row; values is the column list and the VALUES clause. With wantId the new
   * AUTO_INCREMENT key, or -1; after a duplicate key it is the key of some earlier insert, so that
   * callers who care ask lastError(). Without wantId as db_do_query().
   */
  int insert_row(const KTString& values, const KTString& table, bool wantId);
  int update_row(const KTString& set, const KTString& where, const KTString& table);
  /** condition is all that follows the table's name, "WHERE" included. */
  int delete_row(const KTString& condition, const KTString& table);
  /** The last AUTO_INCREMENT key of conn, which must not be null. */
  unsigned getLastInsertedID(MYSQL* conn);
  /**
   * Sets out to the bytes, escaped to stand between quotes in a statement: its length. -1 without
   * memory for a connection; out is then untouched.
   */
  int escape_string(KTString& out, const KTDataBlock& in);

  int create_db(const KTString& name);
  int create_tb(const KTString& name, KTString fields);
  /**
   * Drops a database under a table lock on its name. -1, with nothing dropped, when there is no
   * such table to lock in the connection's database. A server that drops no database while tables
   * are locked refuses in any case: to be sure of it, send the statement with db_do_query().
   */
  int drop_db(const KTString& name);
  /** Names are LIKE patterns. */
  bool db_exists(const KTString& name);
  bool tb_exists(const KTString& name);
  /** The number of rows; 0 also when the table is missing. */
  unsigned tb_rownum(const KTString& table);
  /** condition as in delete_row(). */
  unsigned tb_rownum(const KTString& table, const KTString& condition);
  bool tb_isempty(const KTString& table);
  /** As getQueryResultList(), of the tables like pattern, or of all when it is empty. */
  unsigned getTbList(KTDLList<KTString>& list, const KTString& pattern);
  /** As getTbList(), of the databases. */
  unsigned getDbList(KTDLList<KTString>& list, const KTString& pattern);
  /** Logs the columns of a table. */
  void describe(const KTString& table);

 protected:
  /** For an object that shares a connection which another one has opened. Logs nothing. */
  explicit KTR_MYSQL_api(MYSQL* shared);

  /** Logs the rows of r that have not been fetched, each as head and a line a column. */
  void logRows(KTRResult& r, const char* head);

  /** Whether a query answers at least one row; lastError() tells a failure from none. */
  bool hasRow(const KTString& query);

  MYSQL* _mysql;  // null until the first use

 private:
  int sendThroughLockWaits(const KTString& query) KTR_REQUIRES(_staticMysqlMux);
  bool reconnect(const KTString& query) KTR_REQUIRES(_staticMysqlMux);
  unsigned countRows(const KTString& query);

  MYSQL _connection;  // what _mysql points at, unless it is shared
};

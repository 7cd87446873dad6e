#pragma once

#include "db/KTRRow.h"
#include "db/KTR_MYSQL_api.h"

/**
 * The base of the tables of a recorder database: a table name on a connection that the database's
 * handle has opened. Here, too, are the names and column lists of the four tables.
 *
 * Owns: nothing but its name; the connection belongs to the handle and outlives the table.
 * Threads: any thread; the object does not change after its construction.
 * Blocks: as KTR_MYSQL_api.
 * Errors: by result and log line.
 */
class KTR_API KTR_DBTable : public KTR_MYSQL_api {
 public:
  /** Index into the two arrays below. */
  enum KtrTableType {
    TB_DATA_STREAMS = 0,
    TB_RECORD_SESSIONS = 1,
    TB_STREAM_SETTINGS = 2,
    TB_EVENTS_LIST = 3
  };
  static const KTString KTR_TableName[4];
  /** What stands between the brackets of the CREATE TABLE statement. */
  static const KTString KTR_TableFields[4];

  /** Creates nothing in the database. */
  KTR_DBTable(const KTString& name, MYSQL* connection);
  /** Leaves the connection open. */
  ~KTR_DBTable() override;

  /** The name of the class. */
  [[nodiscard]] virtual const char* name() const;
  /** The name of the table. */
  [[nodiscard]] virtual KTString& getName();
  /** Logs the columns of the table. */
  virtual void _describe();
  /** Logs the rows of the table; nothing when there is none. */
  virtual void display();

  /**
   * Creates a table unless it exists. 0 when it exists now, -1 without memory for a connection,
   * otherwise the result of the failed statement.
   */
  [[nodiscard]] int create(const KTString& name, const KTString& fields);
  /**
   * Inserts a row into the table of a kind, whatever this object's own table is. As insert_row()
   * with wantId: the new id, or -1; without meaning for a table that gives no ids.
   */
  int addKTRRow(const KTRRow& row, KtrTableType type);

 protected:
  KTString _tableName;
};

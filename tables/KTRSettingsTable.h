#pragma once

#include "containers/KTDLList.h"
#include "db/KTRSettingsRow.h"
#include "db/KTR_DBTable.h"
#include "runtime/KTRExport.h"

/**
 * The table "streamSettings": the catalogue of the distinct encoding settings of a database, each
 * with the id that record sessions refer to. Settings are added with
 * addKTRRow(row, TB_STREAM_SETTINGS), which leaves settings that are stored already as they are.
 *
 * Owns: nothing but its name; the connection is the database handle's.
 * Threads: any thread.
 * Blocks: for the server, and for the MySQL mutex.
 * Errors: by result; the failed query itself is logged.
 */
class KTR_API KTRSettingsTable : public KTR_DBTable {
 public:
  /** Creates the table when it is missing; when that fails (logged) every query will fail. */
  explicit KTRSettingsTable(MYSQL* connection);
  ~KTRSettingsTable() override;

  [[nodiscard]] const char* name() const override;

  /**
   * The id of the settings with this name, settings string and stream type; -1 without them, also
   * when they are stored under another name.
   */
  [[nodiscard]] int getSettingsID(const KTRSettingsRow& row);
  /**
   * Reads settings back and lets the row parse them into its own fields. True: name, settings and
   * streamType are the stored ones. False: row is as it was.
   *
   * A stored name of 20 characters or more is a damaged catalogue and ends the process after one
   * log line; names are kept to 19 characters where they enter.
   */
  [[nodiscard]] bool getSettingsByID(unsigned int id, KTRSettingsRow& row);
  /**
   * Appends one text for each row that condition (the whole tail of the statement, or empty)
   * selects, its four columns comma-separated; audio settings are not left out. Returns the
   * list's count.
   */
  unsigned int getVideoSettingsList(KTDLList<KTString>& list, const KTString& condition);
};

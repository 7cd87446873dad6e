#include "host/record/SessionIdFloor.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/check/DiskCatalog.h"
#include "host/check/RecorderTables.h"

unsigned int SessionIdFloor::raise(KTR_DB_handle& handle, const std::string& recorderDirectory) {
  const DiskCatalog disk(recorderDirectory, std::string(handle.getName().view()));
  RecorderTables tables(&handle);
  const unsigned int highest = std::max(disk.highestId(), tables.highestId());
  if (tables.nextId() > highest) return 0;
  KTString statement;
  statement.format("ALTER TABLE %s AUTO_INCREMENT=%u",
                   KTR_DBTable::KTR_TableName[KTR_DBTable::TB_RECORD_SESSIONS].c_str(),
                   highest + 1);
  (void)handle.db_do_query(statement);
  if (tables.nextId() <= highest) {
    throw failure(
        "the next session would get the id of files that are there already (up to " +
            std::to_string(highest) + ")",
        "give the account the right to ALTER the tables, or move " + recorderDirectory + " away");
  }
  return highest + 1;
}

#include <filesystem>
#include <fstream>

#include "handles/KTR_DB_handle.h"
#include "tests/support/DatabaseFixture.h"
#include "tests/support/ShellCalls.h"
#include "tests/support/TempDir.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* NO_MIN_ID = " can't find min(id) from recordSessions ";
constexpr const char* LOST_STAYS = " can't delete old records from dataStreams ";

class KTR_DB_handle_retentionTest : public DatabaseFixture {
 protected:
  TempDir dir;
  KTR_DB_handle handle{KTString(database)};

  KTR_DB_handle_retentionTest() {
    EXPECT_NE(handle.createDataStreamTable(1000), nullptr);
    forget();
  }

  std::string day(const std::string& name) const { return dir.path() + "/" + name; }

  // A session with data in a directory, which is made.
  unsigned int session(unsigned int start, const std::string& storage) {
    fs::create_directories(storage);
    return hostileSession(start, storage);
  }
  unsigned int hostileSession(unsigned int start, const std::string& storage) {
    KTRRecorderSessionRow row;
    row.streamID = 5;
    row.start_time = start;
    row.end_time = start + 10;
    row.dataAvailable = 1;
    row.storage = KTString(storage);
    return handle.recordSessionTable()->addRow(row);
  }
  std::string slice(unsigned int id, unsigned int number) {
    return std::string(handle.getFullPrefixFileName(static_cast<int>(id)).c_str()) + "F" +
           std::to_string(number) + ".dat";
  }
  // A slice file with one indexed frame.
  void record(unsigned int id, unsigned char number, long time) {
    std::ofstream(slice(id, number)) << "frames";
    index(id, number, time);
  }
  void index(unsigned int id, unsigned char number, long time) {
    KTRVideoStreamRow row;
    row.setValues(static_cast<int>(id), 0, time, number, 0);
    EXPECT_EQ(handle.streamInstance(id)->addRow(row), 0U);
  }
  void loseTheIndex() { server.exec("DROP TABLE " + in("dataStreams")); }

  std::string indexedSlices(unsigned int id) {
    return server.value("SELECT group_concat(_fileIndex ORDER BY _fileIndex) FROM " +
                        in("dataStreams") + " WHERE _id=" + std::to_string(id));
  }
  std::string sessions() {
    return server.value("SELECT group_concat(id ORDER BY id) FROM " + in("recordSessions"));
  }
  std::string startOf(unsigned int id) {
    handle.recordSessionTable()->updateDataBase(true);
    return server.value("SELECT start_time FROM " + in("recordSessions") +
                        " WHERE id=" + std::to_string(id));
  }
  bool deletedIndexRows() const { return sentBeginningWith("DELETE FROM  dataStreams") != 0; }
};

TEST_F(KTR_DB_handle_retentionTest, CutsTheOldestSliceAndMovesTheStart) {
  const unsigned int id = session(100, day("d"));
  record(id, 3, 100);
  index(id, 3, 101);
  record(id, 4, 110);
  record(id, 5, 120);
  const std::string cut = slice(id, 3);
  forget();
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(indexedSlices(id), "4,5");
  EXPECT_FALSE(fs::exists(cut));
  EXPECT_TRUE(fs::exists(slice(id, 4)));
  EXPECT_EQ(sent("DELETE FROM  dataStreams   WHERE _id=1 AND _fileIndex=3"), 1U);
  EXPECT_EQ(sent("SELECT count(*) FROM dataStreams  WHERE _id=1  "), 1U);
  EXPECT_EQ(startOf(id), "110");
}

TEST_F(KTR_DB_handle_retentionTest, TheOldestSliceIsThatOfTheEarliestFrame) {
  const unsigned int id = session(100, day("d"));
  record(id, 255, 100);
  record(id, 0, 110);
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(indexedSlices(id), "0");
  EXPECT_FALSE(fs::exists(slice(id, 255)));
  EXPECT_TRUE(fs::exists(slice(id, 0)));
}

TEST_F(KTR_DB_handle_retentionTest, CuttingTheOnlySliceRemovesTheSession) {
  const unsigned int id = session(100, day("d"));
  record(id, 3, 100);
  const std::string cut = slice(id, 3);
  forget();
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_FALSE(fs::exists(cut));
  EXPECT_EQ(sessions(), "NULL");
  EXPECT_TRUE(log.has(16,
                      "KTR_DB_handle::deleteOlderSlicesOfRecorderSession remove session 1 because "
                      "of empty stream table"));
}

TEST_F(KTR_DB_handle_retentionTest, ASessionWithoutIndexRowsIsRemoved) {
  const unsigned int id = session(100, day("d"));
  EXPECT_FALSE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(sessions(), "NULL");
  EXPECT_TRUE(log.has(16, "KTR_DB_handle::deleteOlderSlicesOfRecorderSession remove session 1"));
}

TEST_F(KTR_DB_handle_retentionTest, WithoutAnIndexTableASessionIsRemoved) {
  const unsigned int id = session(100, day("d"));
  loseTheIndex();
  EXPECT_FALSE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(sessions(), "NULL");
}

TEST_F(KTR_DB_handle_retentionTest, AFileStaysWhileItsRowsAreIndexed) {
  const unsigned int id = session(100, day("d"));
  record(id, 3, 100);
  calls.failNextStatements({0, 1105});  // finding the slice works, deleting its rows does not
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(indexedSlices(id), "3");
  EXPECT_TRUE(fs::exists(slice(id, 3)));
}

TEST_F(KTR_DB_handle_retentionTest, AMissingFileIsLoggedAndTheRowsGo) {
  const unsigned int id = session(100, day("d"));
  index(id, 3, 100);
  index(id, 4, 110);
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_TRUE(log.has(128, "[ REMOVE FILE ERROR] : " + slice(id, 3)));
  EXPECT_EQ(indexedSlices(id), "4");
}

TEST_F(KTR_DB_handle_retentionTest, TheStartStaysWhenTheOldestFrameCannotBeFound) {
  const unsigned int id = session(100, day("d"));
  record(id, 3, 100);
  record(id, 4, 110);
  calls.failNextStatements({0, 0, 0, 0, 1105});  // all works but the last lookup
  EXPECT_TRUE(handle.deleteOlderSlicesOfRecorderSession(id));
  EXPECT_EQ(indexedSlices(id), "4");
  EXPECT_EQ(startOf(id), "100");
}

TEST_F(KTR_DB_handle_retentionTest, CutsTheOldestSessionThatHasData) {
  const unsigned int newer = session(200, day("d"));
  const unsigned int older = session(100, day("d"));
  record(newer, 0, 200);
  record(older, 0, 100);
  record(older, 1, 110);
  forget();
  handle.deleteOlderRecordSessionRow(77, 88);
  EXPECT_EQ(sent("SELECT id FROM recordSessions WHERE dataAvailable>0 ORDER BY start_time LIMIT 1"),
            1U);
  EXPECT_EQ(indexedSlices(older), "1");
  EXPECT_EQ(indexedSlices(newer), "0");
}

TEST_F(KTR_DB_handle_retentionTest, WithoutDataTheCutAsksForAnImpossibleSession) {
  handle.deleteOlderRecordSessionRow(0, 0);
  EXPECT_TRUE(
      log.has(16, "KTR_DB_handle::deleteOlderSlicesOfRecorderSession remove session 4294967295"));
  EXPECT_EQ(sent("DELETE FROM  recordSessions   WHERE id=4294967295"), 1U);
}

TEST_F(KTR_DB_handle_retentionTest, ASessionOfIdZeroIsNotCut) {
  const unsigned int id = session(100, day("d"));
  server.exec("UPDATE " + in("recordSessions") + " SET id=0 WHERE id=" + std::to_string(id));
  handle.deleteOlderRecordSessionRow(0, 0);
  EXPECT_EQ(sessions(), "0");
}

TEST_F(KTR_DB_handle_retentionTest, RemovesASessionsRowsAndNotItsFiles) {
  const unsigned int id = session(100, day("d"));
  const unsigned int other = session(200, day("d"));
  record(id, 3, 100);
  record(other, 4, 200);
  const std::string file = slice(id, 3);
  forget();
  handle.deleteStreamSession(id);
  EXPECT_EQ(sent("DELETE FROM  dataStreams   WHERE _id=1 "), 1U);
  EXPECT_EQ(sent("DELETE FROM  recordSessions   WHERE id=1"), 1U);
  EXPECT_EQ(indexedSlices(id), "NULL");
  EXPECT_EQ(indexedSlices(other), "4");
  EXPECT_EQ(sessions(), "2");
  EXPECT_TRUE(fs::exists(file));
}

TEST_F(KTR_DB_handle_retentionTest, RemovingASessionDestroysItsStreamTable) {
  const unsigned int id = session(100, day("d"));
  EXPECT_NE(handle.streamInstance(id), nullptr);
  handle.deleteStreamSession(id);
  forget();
  EXPECT_NE(handle.streamInstance(id), nullptr);
  EXPECT_NE(sent("SHOW TABLE STATUS LIKE 'dataStreams' "), 0U);
}

TEST_F(KTR_DB_handle_retentionTest, WithoutAnIndexTableOnlyTheSessionRowGoes) {
  const unsigned int id = session(100, day("d"));
  loseTheIndex();
  handle.deleteStreamSession(id);
  EXPECT_FALSE(deletedIndexRows());
  EXPECT_EQ(sessions(), "NULL");
}

TEST_F(KTR_DB_handle_retentionTest, NoIndexRowsAreDeletedForSessionZero) {
  index(0, 1, 100);
  forget();
  handle.deleteStreamSession(0);
  EXPECT_FALSE(deletedIndexRows());
  EXPECT_EQ(indexedSlices(0), "1");
  EXPECT_EQ(sent("DELETE FROM  recordSessions   WHERE id=0"), 1U);
}

TEST_F(KTR_DB_handle_retentionTest, RemovesTheFilesOfOneSession) {
  const unsigned int id = session(100, day("d"));
  for (unsigned int i = 2; i <= 11; ++i) session(100 + i, day("d"));
  record(id, 0, 100);
  record(id, 255, 110);
  record(11, 0, 100);  // its prefix begins like the other's
  const std::string header = handle.getAudioHeaderFilename(static_cast<int>(id)).c_str();
  std::ofstream{header} << "codec";
  handle.deleteAllDataFiles(id);
  EXPECT_FALSE(fs::exists(slice(id, 0)));
  EXPECT_FALSE(fs::exists(slice(id, 255)));
  EXPECT_FALSE(fs::exists(header));
  EXPECT_TRUE(fs::exists(slice(11, 0)));
  EXPECT_EQ(indexedSlices(id), "0,255");
}

TEST_F(KTR_DB_handle_retentionTest, FilesAreRemovedByPrefixAndWithoutQuestions) {
  const unsigned int id = session(100, day("d"));
  const ShellCalls shell;
  handle.deleteAllDataFiles(id);
  const std::string prefix = handle.getFullPrefixFileName(static_cast<int>(id)).c_str();
  EXPECT_EQ(shell.commands(), (std::vector<std::string>{"\\rm -f " + prefix + "*"}));
}

TEST_F(KTR_DB_handle_retentionTest, FilesInAHostileDirectoryAreNotRemoved) {
  const std::string victim = day("victim");
  std::ofstream{victim} << "keep";
  const unsigned int id = hostileSession(100, "/tmp/x " + victim + " /tmp/y");
  handle.deleteAllDataFiles(id);
  EXPECT_TRUE(fs::exists(victim));
  EXPECT_EQ(log.countContaining("only letters, digits and / . _ - are allowed"), 1U);
}

// What each must not do is remove the victim, or anything of the session's own.
const char* const HOSTILE[] = {
    "",
    "data/rec",
    "-rf",
    "~",
    "./rec",
    "..",
    "/",
    "//",
    "/./",
    "/..",
    "$D/..",
    "$D/../$D",
    "$D/a/../b",
    "$D; rm $D/victim",
    "$D $D/victim",
    "$D/*",
    "$D/?ictim",
    "$D/[v]ictim",
    "$D/{victim,b}",
    "$D/$HOME",
    "$D/`id`",
    "$D/$(rm $D/victim)",
    "$D&rm $D/victim",
    "$D|rm $D/victim",
    "$D>$D/victim",
    "$D<$D/victim",
    "$D'",
    "$D\"",
    "$D\\",
    "$D\nrm $D/victim",
    "$D\trm",
    "$D #",
    "$D!",
    "$D=",
    "$D%",
    "$D\xC3\xA4",
    "$D\x7F",
    "$D,",
    "$D:",
    "$D@",
    "$D^",
    "$D+",
    "$D(",
    "/etc",
    "/usr/local/x",
    "/proc/self",
};

TEST_F(KTR_DB_handle_retentionTest, NoCommandRunsForAHostileDirectory) {
  const std::string victim = day("victim");
  std::ofstream{victim} << "keep";
  unsigned int refused = 0;
  const ShellCalls shell;
  for (std::string storage : HOSTILE) {
    for (size_t at = 0; (at = storage.find("$D", at)) != std::string::npos;) {
      storage.replace(at, 2, dir.path());
    }
    server.exec("DELETE FROM " + in("recordSessions"));
    log.clear();
    KTRRecorderSessionRow row;
    row.start_time = 1000;
    KTString escaped;
    handle.escape_string(escaped, KTString(storage).dataBlock());
    row.storage = escaped;
    const unsigned int id = handle.recordSessionTable()->addRow(row);
    session(2800, day("new"));
    handle.deleteAllDataFiles(id);
    EXPECT_EQ(log.countContaining("[ REMOVE REFUSED ] "), 1U) << storage;
    EXPECT_FALSE(handle.deleteOlderDay()) << storage;
    EXPECT_EQ(log.countContaining("[deleteCmd]"), 0U) << storage;
    EXPECT_EQ(handle.tb_rownum("recordSessions"), 2U) << storage;
    EXPECT_TRUE(fs::exists(victim)) << storage;
    ++refused;
  }
  EXPECT_GE(refused, 40U);
  EXPECT_TRUE(shell.commands().empty());
}

TEST_F(KTR_DB_handle_retentionTest, NothingIsRemovedThatIsNotBelowTheStorageRoot) {
  const unsigned int id = session(1000, day("elsewhere"));
  session(2800, day("new"));
  record(id, 0, 1000);
  handle.setStorageRoot(KTString(day("root")));
  handle.deleteAllDataFiles(id);
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_TRUE(fs::exists(slice(id, 0)));
  EXPECT_EQ(sessions(), "1,2");
  EXPECT_EQ(log.countContaining("it is not below the storage root"), 2U);
  handle.setStorageRoot(KTString(dir.path()));
  handle.deleteAllDataFiles(id);
  EXPECT_FALSE(fs::exists(slice(id, 0)));
  EXPECT_TRUE(handle.deleteOlderDay());
}

TEST_F(KTR_DB_handle_retentionTest, TheStorageRootItselfIsNotRemoved) {
  session(1000, dir.path());
  session(2800, day("new"));
  handle.setStorageRoot(KTString(dir.path()));
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_TRUE(fs::exists(dir.path()));
}

TEST_F(KTR_DB_handle_retentionTest, FilesOfAnUnknownSessionAreNotRemoved) {
  handle.deleteAllDataFiles(9);
  EXPECT_TRUE(log.has(128, "[ REMOVE REFUSED ] '' : it is empty"));
}

TEST_F(KTR_DB_handle_retentionTest, FilesOfAHostileDatabaseNameAreNotRemoved) {
  server.exec("CREATE DATABASE `a b`");
  KTR_DB_handle hostile("a b");
  KTRRecorderSessionRow row;
  row.storage = KTString(dir.path());
  EXPECT_EQ(hostile.recordSessionTable()->addRow(row), 1U);
  const std::string victim = day("record_a");
  std::ofstream{victim} << "keep";
  hostile.deleteAllDataFiles(1);
  EXPECT_TRUE(fs::exists(victim));
  EXPECT_EQ(log.countContaining("only letters, digits and / . _ - are allowed"), 1U);
}

TEST_F(KTR_DB_handle_retentionTest, RecordingsOfLessThanHalfAnHourStay) {
  session(1000, day("old"));
  session(2799, day("new"));
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_EQ(sessions(), "1,2");
  EXPECT_TRUE(fs::exists(day("old")));
}

TEST_F(KTR_DB_handle_retentionTest, RemovesTheDirectoryOfTheOldestSession) {
  const unsigned int oldest = session(1000, day("old"));
  const unsigned int same = session(1500, day("old"));
  const unsigned int newest = session(2800, day("new"));
  record(oldest, 0, 1000);
  record(same, 0, 1500);
  record(newest, 0, 2800);
  const ShellCalls shell;
  EXPECT_TRUE(handle.deleteOlderDay());
  EXPECT_EQ(shell.commands(), (std::vector<std::string>{"/bin/rm -rf " + day("old")}));
  EXPECT_FALSE(fs::exists(day("old")));
  EXPECT_TRUE(fs::exists(slice(newest, 0)));
  EXPECT_EQ(sessions(), "3");
  EXPECT_EQ(indexedSlices(oldest) + indexedSlices(same) + indexedSlices(newest), "NULLNULL0");
  EXPECT_TRUE(log.has(16, "[deleteCmd] /bin/rm -rf " + day("old")));
}

TEST_F(KTR_DB_handle_retentionTest, ADaysRemovalSendsItsStatementsInOrder) {
  session(1000, day("old"));
  session(2800, day("new"));
  forget();
  EXPECT_TRUE(handle.deleteOlderDay());
  EXPECT_EQ(calls.statements(),
            (std::vector<std::string>{
                "SELECT min(start_time),max(start_time) FROM recordSessions WHERE start_time > 0 ",
                "SELECT storage FROM recordSessions WHERE start_time=1000 LIMIT 1",
                "DELETE FROM  recordSessions   WHERE storage='" + day("old") + "'",
                "SELECT min(id) FROM recordSessions ", "DELETE FROM  dataStreams   WHERE _id<2 "}));
}

TEST_F(KTR_DB_handle_retentionTest, SessionsThatNeverStartedDoNotCount) {
  session(0, day("unset"));
  session(1000, day("old"));
  session(2799, day("new"));
  EXPECT_FALSE(handle.deleteOlderDay());
}

TEST_F(KTR_DB_handle_retentionTest, WithoutSessionsThereIsNoOldestDay) {
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_EQ(calls.statements().size(), 1U);
}

TEST_F(KTR_DB_handle_retentionTest, ADirectoryStaysWhenItsSessionsCannotBeDeleted) {
  session(1000, day("old"));
  session(2800, day("new"));
  calls.failNextStatements({0, 0, 1105});
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_TRUE(fs::exists(day("old")));
  EXPECT_EQ(log.countContaining("[deleteCmd]"), 0U);
}

TEST_F(KTR_DB_handle_retentionTest, NothingGoesWhenTheOldestDirectoryCannotBeFound) {
  session(1000, day("old"));
  session(2800, day("new"));
  calls.failNextStatements({0, 1105});
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_EQ(log.countContaining("[ REMOVE REFUSED ]"), 0U);
  EXPECT_EQ(sessions(), "1,2");
  EXPECT_TRUE(fs::exists(day("old")));
}

TEST_F(KTR_DB_handle_retentionTest, AHostileDirectoryIsRefusedBeforeItsSessionsAreDeleted) {
  const std::string victim = day("victim");
  fs::create_directory(victim);
  hostileSession(1000, "/tmp/x " + victim);
  session(2800, day("new"));
  EXPECT_FALSE(handle.deleteOlderDay());
  EXPECT_TRUE(fs::exists(victim));
  EXPECT_EQ(sessions(), "1,2");
  EXPECT_EQ(log.countContaining("[deleteCmd]"), 0U);
}

TEST_F(KTR_DB_handle_retentionTest, TheOnlyDirectoryLeavesOrphanedIndexRowsForLater) {
  session(1000, day("only"));
  session(2800, day("only"));
  index(1, 0, 1000);
  EXPECT_TRUE(handle.deleteOlderDay());
  EXPECT_TRUE(log.has(128, NO_MIN_ID));
  EXPECT_EQ(indexedSlices(1), "0");
}

TEST_F(KTR_DB_handle_retentionTest, PurgesIndexRowsOfSessionsThatAreGone) {
  session(100, day("d"));
  session(200, day("d"));
  index(1, 0, 100);
  index(2, 0, 200);
  handle.recordSessionTable()->delete_row("WHERE id=1", "recordSessions");
  forget();
  handle.deleteLostData();
  EXPECT_EQ(sent("SELECT min(id) FROM recordSessions "), 1U);
  EXPECT_EQ(sent("DELETE FROM  dataStreams   WHERE _id<2 "), 1U);
  EXPECT_EQ(indexedSlices(1), "NULL");
  EXPECT_EQ(indexedSlices(2), "0");
}

TEST_F(KTR_DB_handle_retentionTest, WithoutSessionsNothingIsPurged) {
  index(1, 0, 100);
  handle.deleteLostData();
  EXPECT_TRUE(log.has(128, NO_MIN_ID));
  EXPECT_EQ(indexedSlices(1), "0");
}

TEST_F(KTR_DB_handle_retentionTest, APurgeThatFailsIsLogged) {
  session(100, day("d"));
  loseTheIndex();
  handle.deleteLostData();
  EXPECT_TRUE(log.has(128, LOST_STAYS));
}

}  // namespace

#include <vector>

#include "tables/KTRRecordSessionTable.h"
#include "tests/support/DatabaseFixture.h"

namespace {

class KTRRecordSessionTableReadTest : public DatabaseFixture {
 protected:
  KTRRecordSessionTable table{connection()};
  KTRRecorderSessionRow row;

  KTRRecordSessionTableReadTest() { row.id = 99; }

  unsigned int add(unsigned int start, unsigned int end, unsigned int settings = 1,
                   const char* storage = "/data", unsigned int dataAvailable = 1) {
    KTRRecorderSessionRow session;
    session.streamID = 5;
    session.settingsID = settings;
    session.start_time = start;
    session.end_time = end;
    session.dataAvailable = dataAvailable;
    session.storage = storage;
    session.streamType = STREAM_VIDEO;
    session.realFps = 25;
    return table.addRow(session);
  }
  // Settings 1 are of "red" size, settings 2 of "blue" size.
  void addSettings() {
    server.exec("CREATE TABLE " + in("streamSettings") + " (id INT, settings CHAR(255))");
    server.exec("INSERT INTO " + in("streamSettings") +
                " VALUES (1,'25,4,red,x,y'),(2,'25,4,blue,x,y')");
  }
  bool covers(long time, long span = 0, unsigned int settingsID = 0, const char* settings = "") {
    return table.getRecordSessionRow(5, time, span, settingsID, row, settings);
  }
  std::vector<std::string> list(const KTString& where, bool grouped) {
    KTVector<KTString> entries;
    entries.resize(3);
    const unsigned int count = table.getRecordSessionList(entries, where, grouped);
    EXPECT_EQ(count, entries.count());
    std::vector<std::string> texts;
    for (unsigned int i = 0; i < entries.count(); ++i) texts.emplace_back(entries[i].c_str());
    return texts;
  }
  void loseTheTable() { server.exec("DROP TABLE " + in("recordSessions")); }
};

TEST_F(KTRRecordSessionTableReadTest, ReadsASessionById) {
  add(100, 200);
  forget();
  EXPECT_TRUE(table.getRecordSessionRow(1, row));
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE id=1 "), 1U);
  EXPECT_EQ(row.id, 1U);
  EXPECT_EQ(row.streamID, 5U);
  EXPECT_EQ(row.settingsID, 1U);
  EXPECT_EQ(row.start_time, 100U);
  EXPECT_EQ(row.end_time, 200U);
  EXPECT_EQ(row.update_time, static_cast<unsigned int>(NOW));
  EXPECT_EQ(row.dataAvailable, 1U);
  EXPECT_EQ(row.storage, KTString("/data"));
}

TEST_F(KTRRecordSessionTableReadTest, ARowReadBackHasTheFixedTypeAndFrameRate) {
  add(100, 200);
  EXPECT_TRUE(table.getRecordSessionRow(1, row));
  EXPECT_EQ(row.streamType, STREAM_UNKNOWN);
  EXPECT_EQ(row.realFps, 15U);
}

TEST_F(KTRRecordSessionTableReadTest, AnyOtherDataFlagReadsAsOne) {
  add(100, 200, 1, "/data", 7);
  EXPECT_TRUE(table.getRecordSessionRow(1, row));
  EXPECT_EQ(row.dataAvailable, 1U);
}

TEST_F(KTRRecordSessionTableReadTest, TheGreatestNumbersComeBackUnsigned) {
  add(4294967294U, 4294967295U, 4294967293U);
  EXPECT_TRUE(covers(static_cast<long>(4294967294U)));
  EXPECT_EQ(row.settingsID, 4294967293U);
  EXPECT_EQ(row.start_time, 4294967294U);
  EXPECT_EQ(row.end_time, 4294967295U);
  long start = -7;
  EXPECT_EQ(table.getOlderSessionIDByPath("/data", start), 1);
  EXPECT_EQ(start, static_cast<long>(4294967294U));
}

TEST_F(KTRRecordSessionTableReadTest, AnUnknownIdLeavesTheRow) {
  EXPECT_FALSE(table.getRecordSessionRow(1, row));
  EXPECT_EQ(row.id, 99U);
}

TEST_F(KTRRecordSessionTableReadTest, FindsTheSessionThatCoversATime) {
  add(100, 200);
  add(300, 400);
  forget();
  EXPECT_TRUE(covers(300));
  EXPECT_EQ(row.id, 2U);
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE streamID=5 AND start_time<=300 AND "
                 "end_time>=300  ORDER BY start_time LIMIT 2"),
            1U);
  EXPECT_TRUE(covers(200));
  EXPECT_EQ(row.id, 1U);
}

TEST_F(KTRRecordSessionTableReadTest, ASpanReachesForward) {
  add(300, 400);
  EXPECT_FALSE(covers(290, 9));
  EXPECT_EQ(row.id, 99U);
  EXPECT_TRUE(covers(290, 10));
  EXPECT_EQ(row.id, 1U);
}

TEST_F(KTRRecordSessionTableReadTest, ASettingsIdRestrictsTheSearch) {
  add(100, 200, 1);
  add(110, 200, 2);
  EXPECT_TRUE(covers(150, 0, 2));
  EXPECT_EQ(row.id, 2U);
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE streamID=5 AND start_time<=150 AND "
                 "end_time>=150  AND settingsID=2  ORDER BY start_time LIMIT 2"),
            1U);
  EXPECT_FALSE(covers(150, 0, 3));
}

TEST_F(KTRRecordSessionTableReadTest, TheFirstSessionWithTheSettingsTextWins) {
  addSettings();
  add(100, 200, 1);
  add(110, 200, 2);
  EXPECT_TRUE(covers(150, 0, 0, "blue"));
  EXPECT_EQ(row.id, 2U);
  EXPECT_EQ(sent("SELECT count(*) FROM streamSettings WHERE id=1 AND settings like '%,blue,%' "),
            1U);
  EXPECT_TRUE(covers(150, 0, 0, "red"));
  EXPECT_EQ(row.id, 1U);
}

TEST_F(KTRRecordSessionTableReadTest, WithoutAMatchTheLastCandidateStays) {
  addSettings();
  add(100, 200, 1);
  add(110, 200, 2);
  add(120, 200, 1);
  EXPECT_TRUE(covers(150, 0, 0, "green"));
  EXPECT_EQ(row.id, 2U);
}

TEST_F(KTRRecordSessionTableReadTest, ACandidateAfterTheEndOfARejectedOneIsNotTaken) {
  addSettings();
  add(100, 200, 1);
  add(201, 300, 2);
  EXPECT_TRUE(covers(150, 100, 0, "blue"));
  EXPECT_EQ(row.id, 1U);
}

TEST_F(KTRRecordSessionTableReadTest, ACandidateAtTheEndOfARejectedOneIsTaken) {
  addSettings();
  add(100, 200, 1);
  add(200, 300, 2);
  EXPECT_TRUE(covers(150, 100, 0, "blue"));
  EXPECT_EQ(row.id, 2U);
}

TEST_F(KTRRecordSessionTableReadTest, FindsTheNextSession) {
  add(300, 400, 2);
  add(100, 200, 1);
  forget();
  EXPECT_TRUE(table.getNextRecordSessionRow(5, 100, 0, row));
  EXPECT_EQ(row.id, 2U);
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE streamID=5 AND start_time>=100  order by "
                 "start_time LIMIT 1"),
            1U);
  EXPECT_TRUE(table.getNextRecordSessionRow(5, 100, 2, row));
  EXPECT_EQ(row.id, 1U);
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE streamID=5 AND start_time>=100  AND "
                 "settingsID=2  order by start_time LIMIT 1"),
            1U);
}

TEST_F(KTRRecordSessionTableReadTest, AfterTheLastSessionThereIsNoNext) {
  add(100, 200);
  EXPECT_FALSE(table.getNextRecordSessionRow(5, 101, 0, row));
  EXPECT_FALSE(table.getNextRecordSessionRow(6, 100, 0, row));
  EXPECT_EQ(row.id, 99U);
}

TEST_F(KTRRecordSessionTableReadTest, ListsSessions) {
  add(100, 200);
  add(300, 400, 2);
  forget();
  EXPECT_EQ(list("", false),
            (std::vector<std::string>{"1,5,1,100,200,1,25", "2,5,2,300,400,1,25"}));
  EXPECT_EQ(sent("SELECT CONCAT(id,',',streamID,',',settingsID,',',start_time,',',end_time,',',"
                 "dataAvailable,',',realFps) AS full_result FROM recordSessions  "),
            1U);
  EXPECT_EQ(list("WHERE id=2", false), (std::vector<std::string>{"2,5,2,300,400,1,25"}));
  EXPECT_TRUE(list("WHERE id=3", false).empty());
}

TEST_F(KTRRecordSessionTableReadTest, ListsSessionsGroupedByStreamAndSettings) {
  add(300, 400);
  add(100, 200);
  add(500, 600, 2);
  forget();
  EXPECT_EQ(list("WHERE id>0", true),
            (std::vector<std::string>{"1,5,1,100,400,1,25", "3,5,2,500,600,1,25"}));
  EXPECT_EQ(
      sent("SELECT CONCAT(id,',',streamID,',',settingsID,',',MIN(start_time),',',MAX(end_time),',',"
           "dataAvailable,',',realFps) AS full_result FROM recordSessions WHERE id>0 GROUP BY "
           "streamID,settingsID ORDER BY streamID,settingsID "),
      1U);
}

TEST_F(KTRRecordSessionTableReadTest, FindsTheOldestSessionThatHasData) {
  EXPECT_EQ(table.getOlderSessionID(), -1);
  add(300, 400);
  add(200, 300);
  add(100, 200, 1, "/data", 0);
  forget();
  EXPECT_EQ(table.getOlderSessionID(), 2);
  EXPECT_EQ(sent("SELECT id FROM recordSessions WHERE dataAvailable>0 ORDER BY start_time LIMIT 1"),
            1U);
}

TEST_F(KTRRecordSessionTableReadTest, FindsTheOldestSessionInAStoragePath) {
  add(100, 200, 1, "/b/day1");
  add(300, 500, 1, "/a/day2");
  add(300, 400, 2, "/a/day1");
  long start = -1;
  forget();
  EXPECT_EQ(table.getOlderSessionIDByPath("/a", start), 3);
  EXPECT_EQ(start, 300);
  EXPECT_EQ(sent("SELECT id,start_time FROM recordSessions WHERE dataAvailable>0 AND storage LIKE "
                 "'/a%' ORDER BY start_time,end_time  LIMIT 1"),
            1U);
}

TEST_F(KTRRecordSessionTableReadTest, APathWithoutSessionsLeavesTheStartTime) {
  add(100, 200, 1, "/b/a");
  add(100, 200, 2, "/a", 0);
  long start = -7;
  EXPECT_EQ(table.getOlderSessionIDByPath("/a", start), -1);
  EXPECT_EQ(start, -7);
}

TEST_F(KTRRecordSessionTableReadTest, ListsTheOldestHundredSessionsInAStoragePath) {
  for (unsigned int i = 0; i < 101; ++i) add(1000 - i, 2000, 1, "/a/day");
  add(1, 2, 1, "/b");
  KTDLList<unsigned int> ids;
  ids.append(12345);
  forget();
  EXPECT_EQ(table.getOlderSessionIDListByPath("/a", ids), 100U);
  EXPECT_EQ(ids.count, 100U);
  EXPECT_EQ(ids.head.next->value, 101U);
  EXPECT_EQ(ids.head.prev->value, 2U);
  EXPECT_EQ(sent("SELECT DISTINCT id FROM recordSessions WHERE dataAvailable>0 AND storage LIKE "
                 "'/a%' ORDER BY start_time  LIMIT 100"),
            1U);
}

TEST_F(KTRRecordSessionTableReadTest, TellsTheEarliestStart) {
  EXPECT_EQ(table.getMinStartTime(), -1);
  add(300, 400);
  add(4000000000U, 4000000001U);
  EXPECT_EQ(table.getMinStartTime(), 300);
  server.exec("DELETE FROM " + in("recordSessions") + " WHERE id=1");
  EXPECT_EQ(table.getMinStartTime(), static_cast<long>(4000000000U));
  EXPECT_EQ(sent("SELECT min(start_time) FROM recordSessions"), 3U);
}

TEST_F(KTRRecordSessionTableReadTest, TellsASessionsStorage) {
  add(100, 200);
  EXPECT_EQ(table.getSessionStorage(1), KTString("/data"));
  EXPECT_EQ(sent("SELECT storage FROM recordSessions WHERE id=1"), 1U);
  EXPECT_TRUE(table.getSessionStorage(2).empty());
}

TEST_F(KTRRecordSessionTableReadTest, EveryIdIsSaidToExist) {
  EXPECT_TRUE(table.isIDExists(9));
  EXPECT_EQ(sent("SELECT id FROM recordSessions WHERE id=9"), 1U);
  loseTheTable();
  EXPECT_TRUE(table.isIDExists(9));
}

TEST_F(KTRRecordSessionTableReadTest, WithoutATableEveryReaderAnswersNone) {
  loseTheTable();
  long start = -7;
  KTDLList<unsigned int> ids;
  ids.append(1);
  EXPECT_FALSE(table.getRecordSessionRow(1, row));
  EXPECT_FALSE(covers(150));
  EXPECT_FALSE(table.getNextRecordSessionRow(5, 1, 0, row));
  EXPECT_TRUE(list("", false).empty());
  EXPECT_EQ(table.getOlderSessionID(), -1);
  EXPECT_EQ(table.getOlderSessionIDByPath("/", start), -1);
  EXPECT_EQ(table.getOlderSessionIDListByPath("/", ids), 0U);
  EXPECT_EQ(table.getMinStartTime(), -1);
  EXPECT_TRUE(table.getSessionStorage(1).empty());
  EXPECT_EQ(row.id, 99U);
}

}  // namespace

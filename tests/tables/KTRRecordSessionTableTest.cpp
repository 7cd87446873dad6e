#include "tables/KTRRecordSessionTable.h"

#include <memory>
#include <vector>

#include "tests/support/DatabaseFixture.h"

namespace {

class KTRRecordSessionTableTest : public DatabaseFixture {
 protected:
  std::unique_ptr<KTRRecordSessionTable> table =
      std::make_unique<KTRRecordSessionTable>(connection());

  unsigned int add(unsigned int start, unsigned int end, unsigned int stream = 5,
                   unsigned int settings = 1, const char* storage = "/data") {
    KTRRecorderSessionRow row;
    row.streamID = stream;
    row.settingsID = settings;
    row.start_time = start;
    row.end_time = end;
    row.dataAvailable = 1;
    row.storage = storage;
    row.streamType = STREAM_VIDEO;
    row.realFps = 25;
    return table->addRow(row);
  }
  std::string column(const std::string& name, unsigned int id = 1) {
    return server.value("SELECT " + name + " FROM " + in("recordSessions") +
                        " WHERE id=" + std::to_string(id));
  }
  unsigned int updates() const { return sentBeginningWith("UPDATE"); }
};

TEST_F(KTRRecordSessionTableTest, NamesItself) {
  EXPECT_STREQ(table->name(), "KTRRecordSessionTable");
  EXPECT_EQ(table->getName(), KTString("recordSessions"));
}

TEST_F(KTRRecordSessionTableTest, LogsThatItCouldNotCreateItsTable) {
  MYSQL* const unconnected = nowhere();
  forget();
  KTRRecordSessionTable failed(unconnected);
  EXPECT_TRUE(log.has(128, "[ KTRRecordSessionTable constructor ] CREATE TABLE FAILED !!!"));
  KTRRecorderSessionRow row;
  EXPECT_FALSE(failed.getRecordSessionRow(1, row));
}

TEST_F(KTRRecordSessionTableTest, AddsASessionAtOnce) {
  forget();
  EXPECT_EQ(add(100, 200), 1U);
  EXPECT_EQ(sent("INSERT INTO recordSessions  ( streamID, settingsID, start_time,end_time,"
                 "update_time, dataAvailable,storage,streamType,realFps) VALUES ( "
                 "5,1,100,200,1700000000,1,'/data',0,25 ) "),
            1U);
  EXPECT_EQ(add(300, 400), 2U);
  EXPECT_EQ(server.query("SELECT * FROM " + in("recordSessions") + " WHERE id=1"),
            (std::vector<MariaDbServer::Row>{
                {"1", "5", "1", "100", "200", "1700000000", "1", "/data", "0", "25"}}));
}

TEST_F(KTRRecordSessionTableTest, AddingToAMissingTableFails) {
  server.exec("DROP TABLE " + in("recordSessions"));
  EXPECT_EQ(add(100, 200), 0xFFFFFFFFU);
}

TEST_F(KTRRecordSessionTableTest, AnUnsetTimeIsWrittenAtOnce) {
  add(0, 0);
  clock.advanceSeconds(3);
  forget();
  EXPECT_EQ(table->updateStartTime(1, 150), 0);
  EXPECT_EQ(sent("UPDATE recordSessions SET  start_time=150,end_time=0,update_time=1700000003,"
                 "realFps=15,dataAvailable=1 WHERE  id=1  "),
            1U);
  EXPECT_EQ(table->updateEndTime(1, 160, 20), 0);
  EXPECT_EQ(column("end_time"), "160");
  EXPECT_EQ(column("realFps"), "20");
}

TEST_F(KTRRecordSessionTableTest, AnUnsetStartAloneIsReasonEnough) {
  add(0, 200);
  EXPECT_EQ(table->updateEndTime(1, 210, 25), 0);
  EXPECT_EQ(column("end_time"), "210");
}

TEST_F(KTRRecordSessionTableTest, TheTimesHaveTheirNumbers) {
  EXPECT_EQ(KTRRecordSessionTable::START_TIME, 1);
  EXPECT_EQ(KTRRecordSessionTable::END_TIME, 0);
}

TEST_F(KTRRecordSessionTableTest, LaterChangesWaitForElevenSeconds) {
  add(100, 200);
  forget();
  EXPECT_EQ(table->updateEndTime(1, 210, 25), 0);
  clock.advanceSeconds(10);
  EXPECT_EQ(table->updateEndTime(1, 220, 25), 0);
  EXPECT_EQ(updates(), 0U);
  clock.advanceSeconds(1);
  EXPECT_EQ(table->updateEndTime(1, 230, 30), 0);
  EXPECT_EQ(updates(), 1U);
  EXPECT_EQ(column("concat_ws(',',start_time,end_time,update_time,realFps)"),
            "100,230,1700000011,30");
}

TEST_F(KTRRecordSessionTableTest, TheElevenSecondsCountFromTheLastFlush) {
  add(100, 200);
  table->updateEndTime(1, 210, 25);
  clock.advanceSeconds(11);
  table->updateDataBase(false);
  forget();
  clock.advanceSeconds(10);
  table->updateEndTime(1, 220, 25);
  EXPECT_EQ(updates(), 0U);
}

TEST_F(KTRRecordSessionTableTest, AFlushWithoutChangesCountsToo) {
  add(100, 200);
  clock.advanceSeconds(11);
  table->updateDataBase(false);
  clock.advanceSeconds(10);
  forget();
  table->updateEndTime(1, 220, 25);
  EXPECT_EQ(updates(), 0U);
}

TEST_F(KTRRecordSessionTableTest, AClockSetBackMakesAFlushDue) {
  add(100, 200);
  forget();
  clock.stepWall(-10);
  table->updateEndTime(1, 210, 25);
  EXPECT_EQ(updates(), 0U);
  clock.stepWall(-50);
  table->updateEndTime(1, 220, 25);
  EXPECT_EQ(updates(), 1U);
}

TEST_F(KTRRecordSessionTableTest, AFlushWritesEachChangedSessionOnceInOrder) {
  add(100, 200);
  add(300, 400);
  table->updateEndTime(2, 410, 25);
  table->updateEndTime(1, 210, 25);
  table->updateEndTime(2, 420, 25);
  forget();
  table->updateDataBase(true);
  const std::vector<std::string> all = calls.statements();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_NE(all[0].find("end_time=420"), std::string::npos);
  EXPECT_NE(all[1].find("end_time=210"), std::string::npos);
  table->updateDataBase(true);
  EXPECT_EQ(updates(), 2U);
}

TEST_F(KTRRecordSessionTableTest, AFrameRateOfZeroKeepsTheFormerOne) {
  add(100, 200);
  table->updateEndTime(1, 210, 30);
  table->updateEndTime(1, 220, 0);
  table->updateEndTime(1, 230, -1);
  table->updateDataBase(true);
  EXPECT_EQ(column("realFps"), "30");
}

TEST_F(KTRRecordSessionTableTest, AnUnknownSessionChangesNothing) {
  forget();
  EXPECT_EQ(table->updateTime(KTRRecordSessionTable::START_TIME, 9, 100, 25), -1);
  EXPECT_EQ(table->updateDataAvailable(9, 1), 0xFFFFFFFFU);
  table->updateDataBase(true);
  EXPECT_EQ(updates(), 0U);
}

TEST_F(KTRRecordSessionTableTest, ACachedSessionIsNotReadAgain) {
  add(100, 200);
  table->updateEndTime(1, 210, 25);
  forget();
  table->updateEndTime(1, 220, 25);
  EXPECT_TRUE(calls.statements().empty());
}

TEST_F(KTRRecordSessionTableTest, DataAvailabilityWaitsForTheFlushEvenOfAnUnsetSession) {
  add(0, 0);
  forget();
  EXPECT_EQ(table->updateDataAvailable(1, 0), 0U);
  EXPECT_EQ(updates(), 0U);
  clock.advanceSeconds(11);
  EXPECT_EQ(table->updateDataAvailable(1, 0), 0U);
  EXPECT_EQ(column("dataAvailable"), "0");
  EXPECT_EQ(table->updateDataAvailable(1, 2), 0U);
  table->updateDataBase(true);
  EXPECT_EQ(column("dataAvailable"), "2");
}

TEST_F(KTRRecordSessionTableTest, DestructionWritesWhatIsChanged) {
  add(100, 200);
  table->updateEndTime(1, 210, 25);
  EXPECT_EQ(column("end_time"), "200");
  table.reset();
  EXPECT_EQ(column("end_time"), "210");
}

TEST_F(KTRRecordSessionTableTest, AFailedWriteIsNotTriedAgain) {
  add(100, 200);
  table->updateEndTime(1, 210, 25);
  calls.failNextStatements({1105});
  table->updateDataBase(true);
  forget();
  table->updateDataBase(true);
  EXPECT_EQ(updates(), 0U);
}

TEST_F(KTRRecordSessionTableTest, AFlushDropsNoMoreThanOneCachedSession) {
  for (unsigned int i = 1; i <= 102; ++i) ASSERT_EQ(add(100 + i, 1000), i);
  for (unsigned int i = 1; i <= 102; ++i) table->updateEndTime(i, 2000, 25);
  table->updateDataBase(true);
  forget();
  table->updateEndTime(2, 2001, 25);
  EXPECT_TRUE(calls.statements().empty());
}

TEST_F(KTRRecordSessionTableTest, AFlushDropsTheOldestOfMoreThanAHundredCachedSessions) {
  for (unsigned int i = 1; i <= 100; ++i) ASSERT_EQ(add(100 + i, 1000), i);
  for (unsigned int i = 1; i <= 100; ++i) table->updateEndTime(i, 2000, 25);
  table->updateDataBase(true);
  forget();
  table->updateEndTime(1, 2001, 25);
  EXPECT_TRUE(calls.statements().empty());

  table->updateEndTime(add(300, 1000), 2000, 25);
  table->updateDataBase(true);
  forget();
  table->updateEndTime(2, 2001, 25);
  EXPECT_TRUE(calls.statements().empty());
  table->updateEndTime(1, 2001, 25);
  EXPECT_EQ(sent("SELECT * FROM recordSessions WHERE id=1 "), 1U);
}

}  // namespace

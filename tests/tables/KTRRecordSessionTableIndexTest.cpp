#include <vector>

#include "db/KTROwnedResult.h"
#include "tables/KTRRecordSessionTable.h"
#include "tests/support/DatabaseFixture.h"

namespace {

constexpr unsigned int SESSIONS = 200;  // of each stream
constexpr long LENGTH = 100;

// Ten streams record session after session, with two settings in turn.
class KTRRecordSessionTableIndexTest : public DatabaseFixture {
 protected:
  KTRRecordSessionTableIndexTest() {
    server.exec("INSERT INTO " + in("recordSessions") +
                " SELECT NULL,seq%10,1+seq%20 DIV 10,seq DIV 10*100,seq DIV 10*100+99,0,'1',"
                "'/data','0',25 FROM " +
                in("seq_0_to_1999"));
    server.exec("ANALYZE TABLE " + in("recordSessions"));
  }

  static long startOf(unsigned int session) { return static_cast<long>(session) * LENGTH; }

  // Rows that this connection has read so far.
  unsigned int reads() {
    KTROwnedResult status;
    unsigned int sum = 0;
    table.get_query_result("SHOW SESSION STATUS LIKE 'Handler_read%'", status);
    while (char** columns = table.fetch_row(status)) sum += KTString(columns[1]).toUInt(0);
    return sum;
  }
  // Reads of act by a server that has the table open.
  template <typename Act>
  unsigned int readsOf(const Act& act) {
    EXPECT_TRUE(act());
    const unsigned int before = reads();
    EXPECT_TRUE(act());
    return reads() - before;
  }
  unsigned int readsOfCovering(long time) {
    return readsOf([&] { return table.getRecordSessionRow(5, time, 0, 0, row, ""); });
  }
  unsigned int readsOfNext(long time) {
    return readsOf([&] { return table.getNextRecordSessionRow(5, time, 0, row); });
  }
  // What is found for moments of all kinds.
  std::vector<unsigned int> found() {
    std::vector<unsigned int> ids;
    for (const long time : {0L, 99L, 100L, 5050L, 19'999L, 20'000L}) {
      for (const unsigned int settings : {0U, 1U, 2U}) {
        row.id = 0;
        ids.push_back(table.getRecordSessionRow(5, time, 250, settings, row, "") ? row.id : 0);
        ids.push_back(table.getNextRecordSessionRow(5, time, settings, row) ? row.id : 0);
      }
    }
    return ids;
  }
  std::string columnsOfIndex() {
    return server.value(
        "SELECT GROUP_CONCAT(COLUMN_NAME ORDER BY SEQ_IN_INDEX) FROM "
        "information_schema.STATISTICS WHERE TABLE_SCHEMA='" +
        database + "' AND INDEX_NAME='idx_stream_times'");
  }

  KTRRecordSessionTable table{connection()};
  KTRRecorderSessionRow row;
};

TEST_F(KTRRecordSessionTableIndexTest, SparesTheRowsOfSessionsThatAreOver) {
  const long last = startOf(SESSIONS - 1);
  EXPECT_GE(readsOfCovering(last), SESSIONS);
  ASSERT_TRUE(table.indexTimes());
  EXPECT_LE(readsOfCovering(last), 3U);
  EXPECT_EQ(row.start_time, static_cast<unsigned int>(last));
}

TEST_F(KTRRecordSessionTableIndexTest, SparesTheRowsOfSessionsBehindTheNext) {
  EXPECT_GE(readsOfNext(1), SESSIONS - 1);
  ASSERT_TRUE(table.indexTimes());
  EXPECT_LE(readsOfNext(1), 3U);
  EXPECT_EQ(row.start_time, static_cast<unsigned int>(LENGTH));
}

TEST_F(KTRRecordSessionTableIndexTest, ChangesNothingThatIsFound) {
  const std::vector<unsigned int> before = found();
  ASSERT_TRUE(table.indexTimes());
  EXPECT_EQ(found(), before);
}

TEST_F(KTRRecordSessionTableIndexTest, LeavesTheOlderOfTwoThatBeginInOneSecondFirst) {
  for (const char* settingsAndEnd : {"9,50500,50900", "8,50500,50600"}) {
    server.exec("INSERT INTO " + in("recordSessions") + " SELECT NULL,5," + settingsAndEnd +
                ",0,'1','/data','0',25");
  }
  ASSERT_TRUE(table.indexTimes());
  ASSERT_TRUE(table.getNextRecordSessionRow(5, 50'000, 0, row));
  EXPECT_EQ(row.settingsID, 9U);
  ASSERT_TRUE(table.getRecordSessionRow(5, 50'550, 0, 0, row, ""));
  EXPECT_EQ(row.settingsID, 9U);
}

TEST_F(KTRRecordSessionTableIndexTest, IsNotWaitedForLongWhereAnotherHoldsTheTable) {
  KTR_MYSQL_api other;
  ASSERT_NE(other.db_connect(KTString(database)), nullptr);
  ASSERT_EQ(other.db_do_query("LOCK TABLES recordSessions READ"), 0);
  EXPECT_FALSE(table.indexTimes());
  EXPECT_EQ(log.countContaining("[ DO QUERY ] [ CREATE INDEX idx_stream_times"), 1U);
  other.db_disconnect();
  EXPECT_TRUE(table.indexTimes());
}

TEST_F(KTRRecordSessionTableIndexTest, IsMadeOnce) {
  forget();
  EXPECT_TRUE(table.indexTimes());
  EXPECT_EQ(calls.statements(),
            (std::vector<std::string>{
                "SHOW INDEX FROM recordSessions WHERE Key_name='idx_stream_times'",
                "SET SESSION lock_wait_timeout=1",
                "CREATE INDEX idx_stream_times ON recordSessions (streamID,start_time,id,end_time)",
                "SET SESSION lock_wait_timeout=DEFAULT"}));
  EXPECT_EQ(columnsOfIndex(), "streamID,start_time,id,end_time");
  forget();
  EXPECT_TRUE(table.indexTimes());
  EXPECT_EQ(calls.statements().size(), 1U);
}

TEST_F(KTRRecordSessionTableIndexTest, ThatAnotherProcessMakesMeanwhileWillDo) {
  calls.failNextStatements("CREATE INDEX", {1061});
  EXPECT_TRUE(table.indexTimes());
}

TEST_F(KTRRecordSessionTableIndexTest, ThatMayNotBeMadeIsSaid) {
  calls.failNextStatements("CREATE INDEX", {1142});
  EXPECT_FALSE(table.indexTimes());
  EXPECT_EQ(log.countContaining("[ DO QUERY ] [ CREATE INDEX idx_stream_times"), 1U);
}

TEST_F(KTRRecordSessionTableIndexTest, ThatCannotBeLookedForIsNotMade) {
  forget();
  calls.failNextStatements("SHOW INDEX", {1142});
  EXPECT_FALSE(table.indexTimes());
  EXPECT_EQ(sentBeginningWith("CREATE"), 0U);
}

}  // namespace

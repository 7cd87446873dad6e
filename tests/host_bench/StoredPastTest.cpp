#include "host/bench/StoredPast.h"

#include "host/HostError.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr long START = 1'700'000'000;

class StoredPastTest : public BenchFixture {};

}  // namespace

TEST_F(StoredPastTest, SessionsAreFoundByTheirStreamAndTime) {
  KTR_DB_handle& recorder = place().recorder("past");
  StoredPast past(recorder);
  const unsigned int first = past.addSession("/a/", 3, START, START + 99);
  EXPECT_NE(first, past.addSession("/b/", 4, START + 100, START + 199));
  KTRRecorderSessionRow row;
  ASSERT_TRUE(recorder.recordSessionTable()->getRecordSessionRow(first, row));
  EXPECT_EQ(3U, row.streamID);
  EXPECT_EQ(START, row.start_time);
  EXPECT_EQ(START + 99, row.end_time);
  EXPECT_EQ(1U, row.dataAvailable);
  EXPECT_STREQ("/a/", row.storage.c_str());
}

TEST_F(StoredPastTest, RowsAreWrittenByTheEndHoweverManyThereAre) {
  constexpr unsigned int ROWS = 20'000;  // several statements
  KTR_DB_handle& recorder = place().recorder("rows");
  StoredPast past(recorder);
  for (unsigned int i = 0; i < ROWS; ++i) past.addRow(7, i, START + i, i / 250);
  EXPECT_GT(BenchPlace::rows(recorder, KTR_DBTable::TB_DATA_STREAMS), 0U);
  past.finish();
  past.finish();
  EXPECT_EQ(ROWS, BenchPlace::rows(recorder, KTR_DBTable::TB_DATA_STREAMS));
  EXPECT_EQ(START, recorder.streamInstance(7)->getOlderKFrameTime());
}

TEST_F(StoredPastTest, RowThatTheServerRefusesIsAnError) {
  KTR_DB_handle& recorder = place().recorder("refused");
  StoredPast past(recorder);
  recorder.db_do_query("DROP TABLE dataStreams");
  past.addRow(1, 0, START, 0);
  EXPECT_THROW(past.finish(), HostError);
}

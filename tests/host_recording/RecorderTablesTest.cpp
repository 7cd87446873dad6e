#include "host/check/RecorderTables.h"

#include <gmock/gmock.h>

#include "host/HostError.h"
#include "tests/support/RecorderFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class RecorderTablesTest : public RecorderFixture {
 protected:
  RecorderTablesTest() : tables_(db()) {}

  void addSession(unsigned int id, const std::string& start = "1700000000") {
    exec(
        "INSERT INTO recordSessions (id,streamID,settingsID,start_time,end_time,update_time,"
        "dataAvailable,storage,streamType,realFps) VALUES (" +
        std::to_string(id) + ",3,1," + start + ",4000000000,7,2,'/video/cam/','1',25)");
  }
  /** Rows of a session in a slice: time and, as the offset, ten times that. */
  void addRows(unsigned int session, unsigned int slice, const std::vector<unsigned int>& times) {
    db()->createDataStreamTable(session);
    for (const unsigned int time : times) {
      exec("INSERT INTO dataStreams (_id,_offset,_time,_fileIndex,_delayUsec) VALUES (" +
           std::to_string(session) + "," + std::to_string(10 * time) + "," + std::to_string(time) +
           "," + std::to_string(slice) + ",0)");
    }
  }

  RecorderTables tables_;
};

}  // namespace

TEST_F(RecorderTablesTest, ReadsSessionsAsTheServerHasThem) {
  addSession(9);
  addSession(4, "0");
  const std::vector<RecorderTables::Session> all = tables_.sessions();
  ASSERT_EQ(2U, all.size());
  EXPECT_EQ(4U, all[0].id);
  EXPECT_EQ(0, all[0].start);
  const RecorderTables::Session& nine = all[1];
  EXPECT_EQ(3U, nine.stream);
  EXPECT_EQ(2U, nine.available);
  EXPECT_EQ("/video/cam/", nine.storage);
  EXPECT_EQ(1U, nine.type);
  EXPECT_EQ(25U, nine.fps);
  EXPECT_EQ(9U, tables_.session(9)->id);
  EXPECT_EQ(std::nullopt, tables_.session(5));
}

TEST_F(RecorderTablesTest, ReadsTheIndexSliceBySlice) {
  addRows(1, 0, {20, 10});
  addRows(1, 255, {30});
  addRows(2, 0, {40});
  EXPECT_THAT(tables_.rowsBySlice(1), ElementsAre(Pair(0U, 2U), Pair(255U, 1U)));
  const auto rows = tables_.rows(1, 0);
  ASSERT_EQ(2U, rows.size());
  EXPECT_EQ(100U, rows[0].offset);
  EXPECT_EQ(20U, rows[1].time);
  EXPECT_EQ(1U, tables_.rows(1, 0, 200).size());
  EXPECT_THAT(tables_.times(1, 11, 30), ElementsAre(20, 30));
  EXPECT_EQ(10, tables_.firstTime(1));
  EXPECT_EQ(30, tables_.lastTime(1));
  EXPECT_EQ(std::nullopt, tables_.lastTime(3));
  EXPECT_EQ(4U, tables_.indexRows());
}

TEST_F(RecorderTablesTest, TellsRowsThatBelongToNoSession) {
  addSession(1);
  addRows(1, 0, {10});
  addRows(2, 0, {20, 30});
  EXPECT_THAT(tables_.rowsWithoutSession(), ElementsAre(Pair(2U, 2U)));
}

TEST_F(RecorderTablesTest, TheHighestIdIsThatOfAnyRow) {
  EXPECT_EQ(0U, tables_.highestId());
  addSession(3);
  EXPECT_EQ(3U, tables_.highestId());
  EXPECT_EQ(4U, tables_.nextId());
  addRows(5, 0, {10});
  EXPECT_EQ(5U, tables_.highestId());
  exec("CREATE TABLE eventWindows (id INT UNSIGNED NOT NULL PRIMARY KEY)");
  exec("INSERT INTO eventWindows VALUES (2),(4000000000)");
  EXPECT_EQ(4'000'000'000U, tables_.highestId());
  EXPECT_THAT(tables_.windows(), ElementsAre(2U, 4'000'000'000U));
}

TEST_F(RecorderTablesTest, WhatIsMissingIsEmpty) {
  EXPECT_THAT(tables_.rows(1, 0), IsEmpty());
  EXPECT_THAT(tables_.windows(), IsEmpty());
  exec("DROP TABLE recordSessions,streamSettings");
  EXPECT_THAT(tables_.sessions(), IsEmpty());
  EXPECT_THAT(tables_.settings(), IsEmpty());
  RecorderTables none(nullptr);
  EXPECT_FALSE(none.exist());
  EXPECT_THAT(none.sessions(), IsEmpty());
  EXPECT_THAT(none.rowsWithoutSession(), IsEmpty());
  EXPECT_EQ(0U, none.highestId());
}

TEST_F(RecorderTablesTest, AnAnswerThatIsNoneIsAnError) {
  exec("ALTER TABLE recordSessions DROP COLUMN storage");
  EXPECT_THROW((void)tables_.sessions(), HostError);
}

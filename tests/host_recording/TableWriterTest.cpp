#include "host/repair/TableWriter.h"

#include <gmock/gmock.h>

#include "host/HostError.h"
#include "tests/support/RecorderFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TableWriterTest : public RecorderFixture {
 protected:
  TableWriterTest() : writer_(*db()) { writer_.makeIndexTable(); }

  static RecorderTables::Session session(unsigned int id, const std::string& storage = "/video/") {
    RecorderTables::Session made;
    made.id = id;
    made.stream = 3;
    made.start = START + static_cast<long>(id);
    made.end = START + 9;
    made.available = 1;
    made.storage = storage;
    return made;
  }
  void addRows(unsigned int count) {
    for (unsigned int i = 0; i < count; ++i)
      writer_.addRow(1, {i, static_cast<uint32_t>(START + i), i / 100, 40});
  }
  [[nodiscard]] std::vector<std::string> sessions() {
    return rows("SELECT id,streamID,end_time,storage FROM recordSessions ORDER BY id");
  }
  /** Has the server end the connection behind our back. */
  void loseConnection() {
    KTDLList<KTString> id;
    db()->getQueryResultList(id, "SELECT CONNECTION_ID()");
    exec("KILL " + std::string(id.head.next->value.view()));
  }

  TableWriter writer_;
};

}  // namespace

TEST_F(TableWriterTest, AddsASessionUnderItsOwnId) {
  writer_.addSession(session(7));
  writer_.addSession(session(7, "/elsewhere/"));
  EXPECT_THAT(sessions(), ElementsAre("7,3,1700000009,/elsewhere/"));
}

TEST_F(TableWriterTest, CorrectsOneSession) {
  writer_.addSession(session(7));
  writer_.addSession(session(8));
  RecorderTables::Session other = session(7);
  other.stream = 4;
  writer_.updateSession(other);
  EXPECT_THAT(sessions(), ElementsAre("7,4,1700000009,/video/", "8,3,1700000009,/video/"));
}

TEST_F(TableWriterTest, TextsAreDataAndNothingElse) {
  const std::string hostile = "'; DROP TABLE recordSessions; -- \\";
  writer_.addSession(session(7, hostile));
  EXPECT_EQ(hostile, RecorderTables(db()).session(7)->storage);
  const unsigned int id = writer_.settingsId({"it's", hostile, 1});
  EXPECT_EQ(hostile, RecorderTables(db()).settings().at(id).text);
}

TEST_F(TableWriterTest, SettingsAreFoundOrAdded) {
  const unsigned int first = writer_.settingsId({"v1", "25,0,h264,", 0});
  EXPECT_EQ(first, writer_.settingsId({"another name", "25,0,h264,", 0}));
  EXPECT_NE(first, writer_.settingsId({"v1", "25,0,h264,", 1}));
  EXPECT_EQ("2", value("SELECT COUNT(*) FROM streamSettings"));
}

TEST_F(TableWriterTest, RowsOfATransactionComeTogetherOrNotAtAll) {
  writer_.begin();
  addRows(1203);
  EXPECT_FALSE(writer_.abandon());
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM dataStreams"));
  writer_.begin();
  addRows(1203);
  writer_.commit();
  EXPECT_EQ("1203", value("SELECT COUNT(*) FROM dataStreams"));
  EXPECT_EQ("12", value("SELECT _fileIndex FROM dataStreams WHERE _offset=1202"));
}

TEST_F(TableWriterTest, TheFirstRowOfASecondStays) {
  writer_.begin();
  writer_.addRow(1, {10, START, 0, 40});
  writer_.addRow(1, {20, START, 0, 40});
  writer_.commit();
  EXPECT_THAT(rows("SELECT _offset FROM dataStreams"), ElementsAre("10"));
}

TEST_F(TableWriterTest, ALostConnectionIsSeenBeforeTheNextStatement) {
  writer_.begin();
  addRows(10);
  loseConnection();
  EXPECT_THROW(writer_.commit(), HostError);
  EXPECT_TRUE(writer_.abandon());
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM dataStreams"));
}

TEST_F(TableWriterTest, RemovesASessionWithItsIndex) {
  writer_.addSession(session(1));
  writer_.addSession(session(2));
  writer_.begin();
  addRows(3);
  writer_.commit();
  writer_.removeSession(1);
  EXPECT_EQ(1U, sessions().size());
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM dataStreams"));
}

TEST_F(TableWriterTest, NoSessionCountsAsAWindowAfterwards) {
  writer_.clearWindows();
  exec("CREATE TABLE eventWindows (id INT UNSIGNED NOT NULL PRIMARY KEY)");
  exec("INSERT INTO eventWindows VALUES (1),(2)");
  writer_.clearWindows();
  EXPECT_THAT(rows("SELECT id FROM eventWindows"), IsEmpty());
}

TEST_F(TableWriterTest, AServerThatRefusesIsAnError) {
  exec("DROP TABLE recordSessions");
  EXPECT_THROW(writer_.addSession(session(7)), HostError);
  EXPECT_THROW(writer_.removeSession(7), HostError);
}

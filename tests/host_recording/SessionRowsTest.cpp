#include "host/record/SessionRows.h"

#include "tests/support/RecorderFixture.h"

namespace {

/** Rows of sessions that a test has made; nothing else writes them. */
class SessionRowsTest : public RecorderFixture {
 protected:
  SessionRowsTest() { (void)db(); }

  void addRow(unsigned int id, unsigned int stream, long start) {
    exec(
        "INSERT INTO recordSessions (id,streamID,settingsID,start_time,end_time,dataAvailable,"
        "storage,streamType,realFps) VALUES (" +
        std::to_string(id) + "," + std::to_string(stream) + ",1," + std::to_string(start) +
        ",0,1,'" + dir_.path() + "',0,25)");
  }
  [[nodiscard]] std::string column(const char* name, unsigned int id) {
    return value("SELECT " + std::string(name) +
                 " FROM recordSessions WHERE id=" + std::to_string(id));
  }

  SessionRows rows_{"cam"};
};

}  // namespace

TEST_F(SessionRowsTest, ASessionKeepsAStartThatIsItsOwn) {
  addRow(1, STREAM, START);
  rows_.setFreeStart(1, STREAM, START);
  EXPECT_EQ(std::to_string(START), column("start_time", 1));
}

TEST_F(SessionRowsTest, ASessionThatBeganInTheSecondOfAnotherIsGivenTheNextFreeOne) {
  addRow(1, STREAM, START);
  addRow(2, STREAM, START + 1);
  addRow(3, STREAM, 0);
  rows_.setFreeStart(3, STREAM, START);
  EXPECT_EQ(std::to_string(START + 2), column("start_time", 3));
}

TEST_F(SessionRowsTest, OtherStreamsTakeNoSeconds) {
  addRow(1, STREAM + 1, START);
  addRow(2, STREAM, 0);
  rows_.setFreeStart(2, STREAM, START);
  EXPECT_EQ(std::to_string(START), column("start_time", 2));
}

TEST_F(SessionRowsTest, TheEndIsWrittenAtOnce) {
  addRow(1, STREAM, START);
  rows_.setEnd(1, START + 5);
  EXPECT_EQ(std::to_string(START + 5), column("end_time", 1));
}

#include "host/record/SessionIdFloor.h"

#include <gmock/gmock.h>

#include "tests/host_recording/RepairFixture.h"

namespace {

class SessionIdFloorTest : public RepairFixture {
 protected:
  unsigned int raise() { return SessionIdFloor::raise(*db(), dir_.path()); }
};

}  // namespace

TEST_F(SessionIdFloorTest, LeavesASoundRecorderAlone) {
  EXPECT_EQ(0U, raise());
  recordSlices();
  EXPECT_EQ(0U, raise());
}

TEST_F(SessionIdFloorTest, NewSessionsKeepOutOfTheFilesOfOldOnes) {
  recordSlices();
  const std::vector<std::string> before = records(1);
  dropDatabase();
  EXPECT_EQ(2U, raise());
  EXPECT_EQ(0U, raise());
  beginSlices();
  record(2, 3, 400);
  end();
  EXPECT_EQ("2", value("SELECT id FROM recordSessions"));
  EXPECT_EQ(before, records(1));
}

TEST_F(SessionIdFloorTest, RowsOfTheIndexCountAsWell) {
  recordSlices();
  exec("INSERT INTO dataStreams VALUES (41,0,1,0,0)");
  EXPECT_EQ(42U, raise());
}

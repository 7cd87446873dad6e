#include "host/play/SessionPlayer.h"

#include "tests/host_recording/PlayFixture.h"

namespace {

class SessionPlayerTest : public PlayFixture {
 protected:
  [[nodiscard]] KTRRecorderSessionRow row(unsigned int id) {
    KTRRecorderSessionRow row;
    EXPECT_TRUE(db()->recordSessionTable()->getRecordSessionRow(id, row));
    return row;
  }
  unsigned int countFrames() {
    unsigned int count = 0;
    unsigned int unused = 0;
    for (KTDataBlock frame; player_.getFrame(frame, unused) != 0;) ++count;
    return count;
  }

  SessionPlayer player_{"cam", 0};
};

}  // namespace

TEST_F(SessionPlayerTest, PlaysASessionWithoutIndexFromItsStart) {
  begin();
  record(1, 5, 100);
  end();
  ASSERT_EQ("0", value("SELECT COUNT(*) FROM dataStreams"));
  ASSERT_TRUE(player_.loadStart(row(1)));
  EXPECT_EQ(START, player_.startTime());
  EXPECT_EQ(5U, countFrames());
}

TEST_F(SessionPlayerTest, TakesTheSessionItIsGiven) {
  begin();
  record(3, 2, 1000);
  end();
  beginWith("other", "hevc");
  record(2, 2, 1000);
  end();
  ASSERT_TRUE(player_.loadStart(row(2)));
  EXPECT_EQ(2U, player_.recordSession().id);
  EXPECT_STREQ("other", player_.settings().name.c_str());
  EXPECT_EQ(4U, countFrames());
  ASSERT_TRUE(player_.loadStart(row(1)));
  EXPECT_EQ(6U, countFrames());
}

TEST_F(SessionPlayerTest, BeginsAtTheOldestSliceThatIsLeft) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 300;
  begin(small);
  record(30, 3, 400);
  end();
  std::vector<std::string> slices =
      rows("SELECT DISTINCT _fileIndex FROM dataStreams ORDER BY _fileIndex");
  ASSERT_LT(1U, slices.size());
  exec("DELETE FROM dataStreams WHERE _fileIndex=0");
  ASSERT_TRUE(player_.loadStart(row(1)));
  EXPECT_GT(90U, countFrames());
}

TEST_F(SessionPlayerTest, FailsWithoutSettings) {
  begin();
  record(1, 1, 100);
  end();
  KTRRecorderSessionRow without = row(1);
  without.settingsID = 4711;
  EXPECT_FALSE(player_.loadStart(without));
  EXPECT_EQ(0U, countFrames());
}

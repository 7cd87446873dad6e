#include "recording/KTRStreamRecordSession.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

namespace {

constexpr long MIDNIGHT = 1700006400;  // 00:00 UTC

class BareSession : public KTRStreamRecordSession {
 public:
  using KTRStreamRecordSession::KTRStreamRecordSession;

  int run() override { return 0; }
  bool startNewSession(KTR_DB_handle*) override { return true; }
  void openFile(const KTString& prefix) {
    file_ = std::make_unique<KTRFile>(prefix, 0, KTRFile::WRITE_FLAGS, 1000000);
  }
  int storeFrame(const KTDataBlock& frame) { return store(frame); }
};

class KTRStreamRecordSessionTest : public testing::Test {
 protected:
  // Puts the clock at a second of the day that begins at MIDNIGHT (negative: the day before).
  void setClock(long secondOfDay) { clock_.stepWall(MIDNIGHT + secondOfDay - now()); }
  static long now() { return KTTimeValue::now().tv_sec; }
  std::filesystem::path entry(const std::string& name) const { return dir_.path() + "/" + name; }

  TempDir dir_;
  ManualClock clock_{MIDNIGHT};
  LogCapture log_;
  BareSession session_{KTRStreamRecordParams()};
};

TEST_F(KTRStreamRecordSessionTest, ServerAheadOfTheGatewayLosesASecondOfOffset) {
  session_.setServerTime(100, 200);
  EXPECT_EQ(session_.getGatewayTime(), now() - 99);
}

TEST_F(KTRStreamRecordSessionTest, GatewayAheadOfTheServerKeepsTheWholeOffset) {
  session_.setServerTime(200, 100);
  EXPECT_EQ(session_.getGatewayTime(), now() + 100);
}

TEST_F(KTRStreamRecordSessionTest, EqualClocksHaveNoOffset) {
  session_.setServerTime(100, 100);
  EXPECT_EQ(session_.getGatewayTime(), now());
}

TEST_F(KTRStreamRecordSessionTest, StampIsPlacedOnTheDayOfTheGatewayClock) {
  setClock(40000);
  EXPECT_EQ(session_.getRealTime(39999999), MIDNIGHT + 39999);
  EXPECT_EQ(session_.getRealTime(0), MIDNIGHT);
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(KTRStreamRecordSessionTest, FrameFromBeforeMidnightBelongsToTheDayBefore) {
  setClock(120);
  EXPECT_EQ(session_.getRealTime(86000000), MIDNIGHT - 400);
  EXPECT_TRUE(
      log_.has(16, "Time jumped above midnight servertime=" + std::to_string(MIDNIGHT + 120) +
                       " frametime=" + std::to_string(MIDNIGHT - 400)));
  EXPECT_EQ(session_.getRealTime(60000), MIDNIGHT + 60);
}

TEST_F(KTRStreamRecordSessionTest, FrameFromAfterMidnightBelongsToTheNextDay) {
  setClock(-300);
  EXPECT_EQ(session_.getRealTime(30000), MIDNIGHT + 30);
  EXPECT_TRUE(
      log_.has(16, "Clone time jumped above midnight servertime=" + std::to_string(MIDNIGHT - 300) +
                       " frametime=" + std::to_string(MIDNIGHT + 30)));
}

TEST_F(KTRStreamRecordSessionTest, MarginOfMidnightIsTenMinutes) {
  setClock(599);
  EXPECT_EQ(session_.getRealTime(85801000), MIDNIGHT - 599);
  EXPECT_EQ(session_.getRealTime(85800999), MIDNIGHT + 85800);
  setClock(600);
  EXPECT_EQ(session_.getRealTime(86000000), MIDNIGHT + 86000);
  setClock(-599);
  EXPECT_EQ(session_.getRealTime(599999), MIDNIGHT + 599);
  EXPECT_EQ(session_.getRealTime(600000), MIDNIGHT - 86400 + 600);
  setClock(-600);
  EXPECT_EQ(session_.getRealTime(0), MIDNIGHT - 86400);
}

TEST_F(KTRStreamRecordSessionTest, DayDirectoryIsMadeForTheOwnerAlone) {
  KTString dir = dir_.entry("rec");
  const KTString date = KTTimeValue(now(), 0).asString("/%Y/%m/%d/");
  ASSERT_TRUE(session_.builStorageDirName(dir));
  EXPECT_EQ(dir, dir_.entry("rec") + date);
  EXPECT_TRUE(std::filesystem::is_directory(dir.c_str()));
  EXPECT_EQ(std::filesystem::status(dir.c_str()).permissions(), std::filesystem::perms(0700));
}

TEST_F(KTRStreamRecordSessionTest, DayDirectoryFollowsTheGatewayClock) {
  session_.setServerTime(MIDNIGHT + 86400 * 40, MIDNIGHT);
  KTString dir = dir_.entry("rec");
  ASSERT_TRUE(session_.builStorageDirName(dir));
  EXPECT_EQ(dir, dir_.entry("rec") + KTTimeValue(MIDNIGHT + 86400 * 40, 0).asString("/%Y/%m/%d/"));
}

TEST_F(KTRStreamRecordSessionTest, ExistingPathIsFine) {
  EXPECT_TRUE(session_.mkDirFull(dir_.entry("a/b/c/")));
  EXPECT_TRUE(session_.mkDirFull(dir_.entry("a/b/c/")));
  EXPECT_TRUE(std::filesystem::is_directory(entry("a/b/c")));
}

TEST_F(KTRStreamRecordSessionTest, PathThroughAFileFailsWithTheRunningPath) {
  session_.openFile(dir_.entry("x_"));
  EXPECT_FALSE(session_.mkDirFull(dir_.entry("x_F0.dat/day/more")));
  EXPECT_TRUE(log_.has(128, dir_.path() + "/x_F0.dat/day creation failed "));
}

TEST_F(KTRStreamRecordSessionTest, DayDirectoryThatCannotBeMadeAnswersFalse) {
  session_.openFile(dir_.entry("x_"));
  KTString dir = dir_.entry("x_F0.dat");
  EXPECT_FALSE(session_.builStorageDirName(dir));
}

TEST_F(KTRStreamRecordSessionTest, RefreshIsDueAtTheFirstCallAndEveryFifteenth) {
  KTRVideoFrame frame;
  for (int i = 0; i < 45; ++i) EXPECT_EQ(session_.needRefreshRCRDTable(frame), i % 15 == 0) << i;
}

TEST_F(KTRStreamRecordSessionTest, BaseStoresNoFrames) {
  KTRVideoFrame frame;
  EXPECT_FALSE(session_.records(frame));
}

TEST_F(KTRStreamRecordSessionTest, IsNamedAfterItsClass) {
  EXPECT_EQ(session_.name(), "KTRStreamRecordSession");
}

TEST_F(KTRStreamRecordSessionTest, DestructionFlushesTheDataFile) {
  {
    BareSession session{KTRStreamRecordParams()};
    session.openFile(dir_.entry("y_"));
    ASSERT_EQ(session.storeFrame(KTDataBlock(100)), 0);
    EXPECT_EQ(session.progress().frames, 1U);
    EXPECT_EQ(session.progress().bytes, 100U);
  }
  EXPECT_EQ(std::filesystem::file_size(entry("y_F0.dat")), 108U);
}

}  // namespace

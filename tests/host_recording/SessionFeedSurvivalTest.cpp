#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "host/server/ServerConnection.h"
#include "runtime/KTLogger.h"
#include "tests/host_recording/FeedFixture.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t LARGE = 1 << 30;

/** Sessions that end by themselves, and a server that goes away. */
class SessionFeedSurvivalTest : public FeedFixture {
 protected:
  ~SessionFeedSurvivalTest() override { MariaDbServer::instance().start(); }

  static void killServer() { MariaDbServer::instance().kill(); }
  static void startServer() { MariaDbServer::instance().start(); }
  /** Lets the running statement and its reconnects fail. */
  void awaitDeaths(unsigned int n) const {
    while (log_.countContaining("has ended before all was stored") < n) std::this_thread::yield();
  }
  [[nodiscard]] unsigned int spoolFiles() const {
    std::error_code error;
    return static_cast<unsigned int>(
        std::distance(fs::directory_iterator(spoolDirectory(), error), {}));
  }
};

}  // namespace

TEST_F(SessionFeedSurvivalTest, GoesOnInTheMiddleOfAGroupAfterALongSilence) {
  feedKey();
  feedDelta();
  starve();
  EXPECT_TRUE(log_.has(KTLogger::Warning, "NO VIDEO PACKET -> CLOSING 3  "));
  feedDelta();
  feedDelta();
  feedKey();
  expectAllPlayed();
  EXPECT_EQ(2U, sessions());
}

TEST_F(SessionFeedSurvivalTest, FramesThatTwoSessionsHoldAreCountedAndPlayedOnce) {
  feedKey();
  for (int i = 0; i < 3; ++i) {
    feedDelta();
    starve();
  }
  feedDelta();
  expectAllPlayed();
  EXPECT_EQ(4U, sessions());
}

TEST_F(SessionFeedSurvivalTest, GoesOnAfterThreeMinutesWithoutAKeyFrame) {
  feedKey();
  settleFeed();
  for (int i = 0; i < 400; ++i) {
    pass(1);
    feedDelta();
  }
  awaitNoSession();
  EXPECT_TRUE(log_.has(KTLogger::Warning, "NO IFRAMES for 180 sec -> CLOSING 3  "));
  expectAllPlayed();
  EXPECT_LT(1U, sessions());
}

TEST_F(SessionFeedSurvivalTest, AServerThatComesBackWithinTheReconnectsCostsNothing) {
  feedGroups(3);
  settleFeed();
  killServer();
  feedGroups(1);
  startServer();
  feedGroups(3);
  expectAllPlayed();
}

TEST_F(SessionFeedSurvivalTest, AServerThatIsAwayForLongCostsNothing) {
  makeWithSpool(LARGE);
  feedGroups(3);
  settleFeed();
  killServer();
  feedGroups(2);
  awaitDeaths(1);
  feedGroups(40, 100'000);
  EXPECT_LT(0U, spoolFiles());
  EXPECT_EQ(
      1U, log_.count(KTLogger::Warning,
                     "stream 3: frames wait for the database or the disk in " + spoolDirectory()));
  startServer();
  pass(30);
  feedGroups(2);
  expectAllPlayed();
  EXPECT_EQ(0U, spoolFiles());
  EXPECT_EQ(1U, log_.count(KTLogger::Warning,
                           "stream 3: what waited in " + spoolDirectory() + " is recorded"));
}

TEST_F(SessionFeedSurvivalTest, SoundWaitsForTheServerToo) {
  makeSound(LARGE);
  for (int i = 0; i < 3; ++i, pass(1)) feedSound();
  settleFeed();
  killServer();
  for (int i = 0; i < 100; ++i, pass(1)) feed(KTRFrameFormat::Audio, 100'000);
  awaitDeaths(1);
  startServer();
  pass(30);
  expectAllPlayed();
}

TEST_F(SessionFeedSurvivalTest, AStalledServerCostsNothing) {
  makeWithSpool(LARGE);
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.streamSettings WRITE");
  feedGroups(120, 50'000);
  EXPECT_LT(0U, spoolFiles());
  (void)blocker.value("UNLOCK TABLES");
  expectAllPlayed();
}

TEST_F(SessionFeedSurvivalTest, AFullSpoolDropsItsOldestGroups) {
  makeWithSpool(8'000'000);
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.streamSettings WRITE");
  feedGroups(60, 100'000);
  const std::uint64_t dropped = lost();
  EXPECT_LT(100U, dropped);
  EXPECT_EQ(1U, log_.countContaining("there is no room for what waits"));
  (void)blocker.value("UNLOCK TABLES");
  finish();
  EXPECT_EQ(dropped, lost());
  EXPECT_EQ(fed().size() - dropped, stored());
  const std::vector<std::string> all = played();
  ASSERT_EQ(stored(), all.size());
  // The beginning had left for its session, the end is what the spool kept; both in whole groups.
  EXPECT_EQ(fed().front(), all.front());
  EXPECT_EQ(std::vector<std::string>(fed().end() - 72, fed().end()),
            std::vector<std::string>(all.end() - 72, all.end()));
}

TEST_F(SessionFeedSurvivalTest, WithoutASpoolWhatFitsIntoMemoryIsKept) {
  feedGroups(1);
  settleFeed();
  killServer();
  feedGroups(10, 1'000'000);
  awaitDeaths(1);
  startServer();
  pass(30);
  expectAllPlayed();
}

TEST_F(SessionFeedSurvivalTest, WhatCannotBeRecordedAtTheEndIsRecordedByTheNextFeed) {
  makeWithSpool(LARGE);
  feedGroups(2);
  settleFeed();
  killServer();
  feedGroups(30, 100'000);
  feedDelta();
  finish();
  EXPECT_EQ(0U, lost());
  EXPECT_LT(0U, spoolFiles());
  EXPECT_TRUE(log_.has(KTLogger::Warning, "stream 3: frames that could not be recorded stay in " +
                                              spoolDirectory() +
                                              ": the next recording of this recorder takes them"));
  const std::uint64_t before = stored();
  startServer();
  makeWithSpool(LARGE);
  feedGroups(1);
  finish();
  EXPECT_TRUE(
      log_.has(KTLogger::Warning, "stream 3: frames that an earlier recording has left in " +
                                      spoolDirectory() + " are recorded first"));
  EXPECT_EQ(fed().size(), before + stored());
  EXPECT_EQ(fed(), played());
  EXPECT_EQ(0U, spoolFiles());
}

TEST_F(SessionFeedSurvivalTest, ASpoolThatCannotBeWrittenLeavesTheFramesInMemory) {
  std::ofstream(spoolDirectory()) << "no directory";
  makeWithSpool(LARGE);
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.streamSettings WRITE");
  feedGroups(30, 100'000);
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, "stream 3: cannot write to " + spoolDirectory() +
                                                  " (Not a directory): frames wait in memory"));
  (void)blocker.value("UNLOCK TABLES");
  expectAllPlayed();
}

TEST_F(SessionFeedSurvivalTest, SessionsThatBeginInOneSecondAreAllStored) {
  feedGroups(1);
  for (int i = 0; i < 3; ++i) {
    settleFeed();
    clock_.stepWall(-4);
    feedGroups(1);
  }
  expectAllPlayedByTime();
  EXPECT_EQ(4U, sessions());
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM recordSessions WHERE start_time=0 OR end_time=0"));
}

TEST_F(SessionFeedSurvivalTest, FootageOfADayThatWaitedIsPutIntoItsOwnDay) {
  goTo(MIDNIGHT - 20);
  obstruct(LARGE);
  feedGroups(10);
  finish();
  EXPECT_EQ(0U, stored());
  pass(3 * 3600);
  clearTheWay();
  makeWithSpool(LARGE);
  expectAllPlayed();
  EXPECT_EQ(0U, closings());
}

TEST_F(SessionFeedSurvivalTest, ADayThatIsDeletedWhileTheNextIsRecordedIsNotMissed) {
  goTo(MIDNIGHT - 20);
  for (int i = 0; i < 12; ++i) {
    feedGroups(1);
    settleFeed();
  }
  ASSERT_EQ(2U, sessions());
  db()->deleteAllDataFiles(1);
  finish();
  EXPECT_EQ(0U, log_.countContaining("has ended before all was stored"));
  EXPECT_EQ(2U, sessions());
  EXPECT_EQ(fed().size(), stored());
}

TEST_F(SessionFeedSurvivalTest, ADirectoryThatIsRemovedTakesNothingWithItThatComesLater) {
  for (int i = 0; i < 10; ++i) {
    feedGroups(1);
    settleFeed();
  }
  const size_t before = fed().size();
  fs::remove_all(fs::path(slicePath(1, 0)).parent_path());
  const auto told = [&] {
    return log_.countContaining("stream 3: the file that is recorded into has been removed");
  };
  for (int i = 0; told() == 0 && i < 1000; ++i) {
    feedGroups(1);
    while (told() == 0 && (feed_->progress().queue != 0 || clock_.waiters() == 0)) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  feedGroups(10);
  finish();
  const std::vector<std::string> after(fed().begin() + static_cast<long>(before), fed().end());
  EXPECT_THAT(played(), testing::IsSupersetOf(after));
  EXPECT_EQ(2U, sessions());
  EXPECT_EQ(1U, told());
}

TEST_F(SessionFeedSurvivalTest, SoundInASessionThatStandsStillOverMidnightStaysInItsDay) {
  goTo(MIDNIGHT - 20);
  makeSound();
  for (int i = 0; i < 5; ++i, pass(1)) {
    feedSound();
    settleFeed();
  }
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.dataStreams WRITE");
  for (int i = 0; i < 5; ++i, pass(1)) feedSound();
  const char* const waiting =
      "SELECT COUNT(*) FROM information_schema.processlist WHERE state LIKE 'Waiting for table%'";
  while (blocker.value(waiting) != "1") std::this_thread::yield();
  pass(3 * 3600);
  feedSound();
  (void)blocker.value("UNLOCK TABLES");
  expectAllPlayed();
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM dataStreams WHERE _time>" +
                       std::to_string(MIDNIGHT + 3 * 3600)))
      << testing::PrintToString(rows("SELECT _time FROM dataStreams"));
}

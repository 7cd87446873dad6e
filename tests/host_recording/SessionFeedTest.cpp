#include "host/record/SessionFeed.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

#include "host/server/ServerConnection.h"
#include "runtime/KTLogger.h"
#include "tests/host_recording/FeedFixture.h"
#include "tests/support/FileText.h"

using testing::ElementsAre;

namespace {

constexpr const char* ENDED =
    "stream 3: the record session has ended: frames are lost up to a key frame";
constexpr const char* NO_ROOM =
    "stream 3: there is no room for what waits: frames are lost up to a key frame";

class SessionFeedTest : public FeedFixture {
 protected:
  /** What the header file of a record session holds. */
  [[nodiscard]] std::string headerOf(unsigned int session) const {
    return contents(prefix(session) + "audioHeader.dat");
  }
  [[nodiscard]] unsigned int failures() const {
    return log_.countContaining("Cant Create Directory !!");
  }
  void awaitFailures(unsigned int n) const {
    while (failures() < n) std::this_thread::yield();
  }
};

}  // namespace

TEST_F(SessionFeedTest, StoresAllThatIsFedAndWritesItsEnd) {
  feedKey();
  pass(1);
  feedKey();
  for (int i = 0; i < 3; ++i) {
    pass(1);
    feedDelta();
  }
  expectAllPlayed();
  EXPECT_EQ(std::to_string(START) + "," + std::to_string(START + 4) + ",1",
            value("SELECT CONCAT(start_time,',',end_time,',',dataAvailable) FROM recordSessions"));
}

TEST_F(SessionFeedTest, TellsTheSessionTheTimeFirst) {
  feedKey();
  finish();
  EXPECT_THAT(rows("SELECT start_time FROM recordSessions"), ElementsAre(std::to_string(START)));
  EXPECT_TRUE(std::filesystem::exists(slicePath(1, 0)));
}

TEST_F(SessionFeedTest, EndsWithItsFeed) {
  feedKey();
  feedDelta();
  feed_.reset();
  EXPECT_EQ(std::to_string(START), value("SELECT end_time FROM recordSessions"));
}

TEST_F(SessionFeedTest, BeginsAtAKeyFrame) {
  feedDelta();
  feedDelta();
  feedKey();
  finish();
  EXPECT_EQ(2U, lost());
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, ENDED));
  EXPECT_EQ(1U, stored());
}

TEST_F(SessionFeedTest, JpegPicturesAreKeyFrames) {
  for (int i = 0; i < 3; ++i) feed(KTRFrameFormat::Jpeg);
  expectAllPlayed();
}

TEST_F(SessionFeedTest, FinishingTwiceOrBeforeTheFirstFrameIsHarmless) {
  finish();
  make(options());
  feedKey();
  finish();
  finish();
  EXPECT_EQ(1U, stored());
}

TEST_F(SessionFeedTest, GoesOnInANewSessionWhenTheSourceHasEnded) {
  feedKey();
  endSource();
  pass(1);
  feedKey();
  feedDelta();
  expectAllPlayed();
  EXPECT_EQ(2U, sessions());
}

TEST_F(SessionFeedTest, TheSessionOfASourceThatHasEndedEndsAtOnce) {
  feedKey();
  settleFeed();
  EXPECT_EQ(1U, feed_->progress().open);
  endSource();
  EXPECT_FALSE(log_.has(KTLogger::Warning, "NO VIDEO PACKET -> CLOSING 3  "));
}

TEST_F(SessionFeedTest, OtherSettingsBeginANewSession) {
  feedGroups(1);
  feed_->use(StreamSettings(KTRVideoSettingsRow("other", 30, 0, "hevc", "1280x720", "")));
  feedGroups(1);
  expectAllPlayed();
  EXPECT_THAT(rows("SELECT settings FROM recordSessions JOIN streamSettings ON "
                   "settingsID=streamSettings.id ORDER BY recordSessions.id"),
              ElementsAre("25,0,h264,640x360,", "30,0,hevc,1280x720,"));
}

TEST_F(SessionFeedTest, ReplacesASessionLongBeforeItsRingIsFull) {
  SessionFeed::Options small = options();
  small.params.sliceSize = 10;
  make(small);
  constexpr unsigned int frames = 230;
  for (unsigned int i = 0; i < frames; ++i) {
    feedKey();
    settleFeed();
    pass(12);
  }
  finish();
  EXPECT_EQ(frames, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ(2U, sessions());
  EXPECT_TRUE(std::filesystem::exists(slicePath(1, 199)));
  EXPECT_FALSE(std::filesystem::exists(slicePath(1, 205)));
}

TEST_F(SessionFeedTest, LosesNothingAfterALongSilence) {
  feedKey();
  starve();
  EXPECT_TRUE(log_.has(KTLogger::Warning, "NO VIDEO PACKET -> CLOSING 3  "));
  feedKey();
  expectAllPlayed();
  EXPECT_EQ(2U, sessions());
}

TEST_F(SessionFeedTest, TriesAgainAfterAGrowingPauseAndLosesNothing) {
  obstruct();
  feedKey();
  unsigned int tries = 0;
  for (const long pause : {1L, 2L, 4L, 8L, 16L, 30L, 30L}) {
    awaitFailures(++tries);
    const std::string told =
        "stream 3: the record session has ended before all was stored; trying "
        "again in " +
        std::to_string(pause) + " s";
    while (!log_.has(KTLogger::Warning, told)) std::this_thread::yield();
    pass(pause - 1);
    feedDelta();
    EXPECT_EQ(tries, failures());
    if (tries < 7) pass(1);
  }
  clearTheWay();
  expectAllPlayed();
}

TEST_F(SessionFeedTest, BoundsWhatWaitsInMemoryAndDropsTheOldest) {
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.streamSettings WRITE");
  constexpr unsigned int groups = 40;
  for (unsigned int i = 0; i < groups; ++i) feedGroups(1, 1'000'000);
  const std::uint64_t dropped = lost();
  EXPECT_EQ(0U, dropped % 4);
  EXPECT_LT(50U, dropped);
  EXPECT_GT(80U, dropped);
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, NO_ROOM));
  (void)blocker.value("UNLOCK TABLES");
  finish();
  EXPECT_EQ(dropped, lost());
  EXPECT_EQ(4 * groups - dropped, stored());
  EXPECT_EQ(fed().back(), played().back());
}

TEST_F(SessionFeedTest, EverySessionOfSoundBeginsWithTheHeader) {
  makeSound();
  for (unsigned int session = 1; session <= 2; ++session) {
    feedSound();
    pass(1);
    feedSound();
    endSource();
    EXPECT_EQ(soundHeader(), headerOf(session));
    pass(1);
  }
  finish();
  EXPECT_EQ(4U, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ((std::vector<std::string>{
                "1," + std::to_string(START) + "," + std::to_string(START + 1),
                "1," + std::to_string(START + 2) + "," + std::to_string(START + 3)}),
            rows("SELECT streamType,start_time,end_time FROM recordSessions ORDER BY id"));
}

TEST_F(SessionFeedTest, SoundThatWasSilentForLongGoesOnInANewSession) {
  makeSound();
  feedSound();
  starve();
  EXPECT_TRUE(log_.has(KTLogger::Warning, "NO AUDIO PACKET -> CLOSING Session #3  "));
  feedSound();
  expectAllPlayed();
  EXPECT_EQ(soundHeader(), headerOf(2));
}

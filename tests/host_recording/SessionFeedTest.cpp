#include "host/record/SessionFeed.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

#include "host/server/ServerConnection.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/RecorderFixture.h"

using testing::ElementsAre;

namespace {

constexpr const char* ENDED =
    "stream 3: the record session has ended: frames are lost up to a key frame";
constexpr const char* TOO_SLOW =
    "stream 3: the disk or the database is too slow: frames are lost up to a key frame";

/** A feed into the recorder "cam" on a clock that the test moves. */
class SessionFeedTest : public RecorderFixture {
 protected:
  SessionFeedTest() {
    (void)db();
    make(params());
  }

  void make(const KTRStreamRecordParams& params) { feed_ = std::make_unique<SessionFeed>(params); }
  void makeSound(const std::string& header) {
    KTRStreamRecordParams sound = params();
    feed_ = std::make_unique<SessionFeed>(
        sound, KTDataBlock(reinterpret_cast<const unsigned char*>(header.data()),
                           static_cast<unsigned int>(header.size())));
  }
  /** What the header file of a record session holds. */
  [[nodiscard]] std::string headerOf(unsigned int session) const {
    std::ifstream file(prefix(session) + "audioHeader.dat");
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void feed(KTRFrameFormat::Kind kind) {
    feed_->feed(makeFrame(kind, stampNow()), kind != KTRFrameFormat::Delta);
  }
  void feedKey() { feed(KTRFrameFormat::Key); }
  void feedDelta() { feed(KTRFrameFormat::Delta); }
  /** Waits until the session has stored what it was fed and waits for more. */
  void settleFeed() {
    while (feed_->progress().queue != 0 || clock_.waiters() == 0) std::this_thread::yield();
  }
  void pass(long seconds) { clock_.advanceSeconds(seconds); }
  /** Lets a session die of silence. */
  void starve() {
    settleFeed();
    pass(16);
    awaitDeath();
    EXPECT_TRUE(log_.has(KTLogger::Warning, "NO VIDEO PACKET -> CLOSING 3  "));
  }
  /** Waits until the thread of the session is gone. */
  void awaitDeath() {
    while (threads() > idleThreads_) std::this_thread::yield();
  }
  /** Blocks the way of sessions: their directory is a file. */
  void obstruct() {
    KTRStreamRecordParams blocked = params();
    blocked.storageDir = dir_.entry("disk");
    std::ofstream(dir_.path() + "/disk") << "no directory";
    make(blocked);
  }
  [[nodiscard]] unsigned int failures() const {
    return log_.countContaining("Cant Create Directory !!");
  }
  [[nodiscard]] std::uint64_t stored() const { return feed_->progress().stored.frames; }
  [[nodiscard]] std::uint64_t lost() const { return feed_->progress().lost; }

  std::unique_ptr<SessionFeed> feed_;

 private:
  [[nodiscard]] static long threads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
  }

  const long idleThreads_ = threads();
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
  feed_->finish();
  EXPECT_EQ(5U, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ(std::to_string(START) + "," + std::to_string(START + 4) + ",1",
            value("SELECT CONCAT(start_time,',',end_time,',',dataAvailable) FROM recordSessions"));
}

TEST_F(SessionFeedTest, TellsTheSessionTheTimeFirst) {
  feedKey();
  feed_->finish();
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
  EXPECT_EQ(2U, lost());
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, ENDED));
  feedKey();
  feed_->finish();
  EXPECT_EQ(1U, stored());
}

TEST_F(SessionFeedTest, JpegPicturesAreKeyFrames) {
  for (int i = 0; i < 3; ++i) feed(KTRFrameFormat::Jpeg);
  feed_->finish();
  EXPECT_EQ(3U, stored());
}

TEST_F(SessionFeedTest, FinishingTwiceOrBeforeTheFirstFrameIsHarmless) {
  feed_->finish();
  feedKey();
  feed_->finish();
  feed_->finish();
  EXPECT_EQ(1U, stored());
}

TEST_F(SessionFeedTest, GoesOnInANewSessionAfterItWasFinished) {
  feedKey();
  feed_->finish();
  pass(1);
  feedKey();
  feedDelta();
  feed_->finish();
  EXPECT_EQ(3U, stored());
  EXPECT_EQ("2", value("SELECT COUNT(*) FROM recordSessions"));
}

TEST_F(SessionFeedTest, ReplacesASessionLongBeforeItsRingIsFull) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 10;
  make(small);
  constexpr unsigned int frames = 230;
  for (unsigned int i = 0; i < frames; ++i) {
    feedKey();
    settleFeed();
    pass(12);
  }
  feed_->finish();
  EXPECT_EQ(frames, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ("2", value("SELECT COUNT(*) FROM recordSessions"));
  EXPECT_TRUE(std::filesystem::exists(slicePath(1, 200)));
  EXPECT_FALSE(std::filesystem::exists(slicePath(1, 205)));
}

TEST_F(SessionFeedTest, LosesNothingAfterALongSilence) {
  feedKey();
  starve();
  feedKey();
  feed_->finish();
  EXPECT_EQ(2U, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ("2", value("SELECT COUNT(*) FROM recordSessions"));
}

TEST_F(SessionFeedTest, WaitsForAKeyFrameAfterALongSilence) {
  feedKey();
  starve();
  feedDelta();
  feedDelta();
  feedKey();
  feed_->finish();
  EXPECT_EQ(2U, stored());
  EXPECT_EQ(2U, lost());
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, ENDED));
}

TEST_F(SessionFeedTest, TriesAgainAfterAGrowingPause) {
  obstruct();
  unsigned int tries = 0;
  for (const long pause : {1L, 2L, 4L, 8L, 16L, 30L, 30L}) {
    feedKey();
    awaitDeath();
    EXPECT_EQ(++tries, failures());
    feedKey();  // finds the session dead
    pass(pause - 1);
    feedKey();
    EXPECT_EQ(tries, failures());
    pass(1);
  }
  std::filesystem::remove(dir_.path() + "/disk");
  feedKey();
  feed_->finish();
  EXPECT_EQ(1U, stored());
  EXPECT_EQ(3U * tries, lost());
  EXPECT_EQ(tries, log_.count(KTLogger::Warning, ENDED));
}

TEST_F(SessionFeedTest, BoundsWhatWaitsForTheDatabase) {
  ServerConnection blocker;
  ASSERT_TRUE(blocker.connectByOptionFiles());
  (void)blocker.value("LOCK TABLES ktr_cam.streamSettings WRITE");
  const std::vector<unsigned char> media(1'000'000);
  const KTDataBlock large =
      KTRFrameWriter::build(KTRFrameFormat::Key, stampNow(), {{media.data(), 1'000'000}});
  constexpr unsigned int frames = 100;
  for (unsigned int i = 0; i < frames; ++i) feed_->feed(large, true);
  const std::uint64_t dropped = lost();
  EXPECT_EQ(frames - SessionFeed::LARGEST_QUEUE / large.size - 1, dropped);
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, TOO_SLOW));
  (void)blocker.value("UNLOCK TABLES");
  settleFeed();
  feedDelta();  // of a group of pictures whose beginning was lost
  feedKey();
  feed_->finish();
  EXPECT_EQ(dropped + 1, lost());
  EXPECT_EQ(frames - dropped + 1, stored());
}

TEST_F(SessionFeedTest, EverySessionOfSoundBeginsWithTheHeader) {
  makeSound("header");
  for (unsigned int session = 1; session <= 2; ++session) {
    feed(KTRFrameFormat::Audio);
    pass(1);
    feed(KTRFrameFormat::Audio);
    feed_->finish();
    EXPECT_EQ("header", headerOf(session));
  }
  EXPECT_EQ(4U, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ((std::vector<std::string>{
                "1," + std::to_string(START) + "," + std::to_string(START + 1),
                "1," + std::to_string(START + 1) + "," + std::to_string(START + 2)}),
            rows("SELECT streamType,start_time,end_time FROM recordSessions ORDER BY id"));
}

TEST_F(SessionFeedTest, SoundThatWasSilentForLongGoesOnInANewSession) {
  makeSound("header");
  feed(KTRFrameFormat::Audio);
  settleFeed();
  pass(16);
  awaitDeath();
  EXPECT_TRUE(log_.has(KTLogger::Warning, "NO AUDIO PACKET -> CLOSING Session #3  "));
  feed(KTRFrameFormat::Audio);
  feed_->finish();
  EXPECT_EQ(2U, stored());
  EXPECT_EQ(0U, lost());
  EXPECT_EQ("header", headerOf(2));
}

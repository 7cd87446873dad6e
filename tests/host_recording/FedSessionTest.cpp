#include "host/record/FedSession.h"

#include <filesystem>
#include <thread>

#include "runtime/KTLogger.h"
#include "tests/support/RecorderFixture.h"

namespace {

constexpr long DAY = 86400;

/** A session of pictures that is handed frames by their time, in seconds behind START. */
class FedSessionTest : public RecorderFixture {
 protected:
  FedSessionTest() { (void)db(); }
  ~FedSessionTest() override { fed_.reset(); }

  [[nodiscard]] StreamFrame frame(long second, bool key = true) const {
    StreamFrame made;
    made.bytes = makeFrame(key ? KTRFrameFormat::Key : KTRFrameFormat::Delta,
                           static_cast<unsigned int>((START + second) % DAY * 1000));
    made.timeMs = (START + second) * std::int64_t{1000};
    made.startsPlayback = key;
    made.settings = settings_;
    return made;
  }
  void open(long second = 0) {
    fed_ = std::make_unique<FedSession>(params(), frame(second), nullptr);
    take(frame(second));
  }
  /** Has a frame taken and stored. */
  void take(const StreamFrame& next) {
    ASSERT_TRUE(fed_->fits(next));
    ASSERT_TRUE(fed_->take(next));
    while (fed_->progress().frames != fed_->taken()) std::this_thread::yield();
  }
  /** Takes a frame a second. */
  void takeSeconds(long from, long to) {
    for (long second = from; second <= to; ++second) {
      clock_.advanceSeconds(1);
      take(frame(second, false));
      settled_ = fed_->settled();
    }
  }

  std::shared_ptr<const StreamSettings> settings_ =
      std::make_shared<const StreamSettings>(params().videoSettings);
  std::unique_ptr<FedSession> fed_;
  std::uint64_t settled_ = 0;
};

}  // namespace

TEST_F(FedSessionTest, RecordsByTheFramesOwnTime) {
  open(-5 * DAY);
  fed_->finish();
  EXPECT_EQ(std::to_string(START - 5 * DAY), value("SELECT start_time FROM recordSessions"));
}

TEST_F(FedSessionTest, FramesOfAnotherTimeAreStoredInTheirs) {
  open(0);
  take(frame(100));  // faster than the clock runs
  take(frame(4000));
  fed_->finish();
  EXPECT_EQ(0U, log_.countContaining("begin new session"));
  EXPECT_EQ(std::to_string(START + 100), value("SELECT MAX(_time) FROM dataStreams"));
}

TEST_F(FedSessionTest, OtherSettingsAndFramesThatBeginASessionDoNotFit) {
  open(0);
  EXPECT_TRUE(fed_->fits(frame(1)));
  StreamFrame other = frame(1);
  other.beginsSession = true;
  EXPECT_FALSE(fed_->fits(other));
  other = frame(1);
  other.settings = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("other", 30, 0, "hevc", "1280x720", ""));
  EXPECT_FALSE(fed_->fits(other));
  EXPECT_FALSE(fed_->fits(frame(-1)));
}

TEST_F(FedSessionTest, TheFirstFrameAlwaysFits) {
  StreamFrame first = frame(0);
  first.beginsSession = true;
  fed_ = std::make_unique<FedSession>(params(), first, nullptr);
  EXPECT_TRUE(fed_->fits(first));
}

TEST_F(FedSessionTest, FramesAreSettledByTheFlushBehindThem) {
  open(0);
  (void)fed_->settled();
  takeSeconds(1, 11);
  EXPECT_EQ(0U, settled_);
  takeSeconds(12, 12);
  EXPECT_EQ(1U, settled_);
  EXPECT_LT(0U, std::filesystem::file_size(slicePath(1, 0)));
  takeSeconds(13, 20);
  EXPECT_EQ(9U, settled_);
}

TEST_F(FedSessionTest, AFlushIsDueWhenTheOldestFrameHasWaitedForIt) {
  open(0);
  EXPECT_TRUE(fed_->flushIsDue());
  (void)fed_->settled();
  EXPECT_FALSE(fed_->flushIsDue());
  clock_.advanceSeconds(11);
  EXPECT_TRUE(fed_->flushIsDue());
}

TEST_F(FedSessionTest, TellsOfARecordSessionOnce) {
  open(0);
  take(frame(1, false));
  const auto opened = fed_->unnoted();
  ASSERT_TRUE(opened);
  EXPECT_EQ(1U, opened->id);
  EXPECT_EQ(START, opened->begun);
  fed_->note(1);
  EXPECT_FALSE(fed_->unnoted());
}

TEST_F(FedSessionTest, WhatTheFileLacksAtTheEndIsCounted) {
  open(0);
  (void)fed_->unnoted();
  fed_->note(1);
  take(frame(1, false));
  fed_->finish();
  std::filesystem::remove(slicePath(1, 0));  // so that the last flush writes to a file of no name
  const KTRRecordProgress stored = fed_->progress();
  EXPECT_EQ(stored.bytes + 2 * 8, fed_->close());
}

TEST_F(FedSessionTest, NothingIsLackingInAWholeFile) {
  open(0);
  (void)fed_->unnoted();
  fed_->note(1);
  take(frame(1, false));
  fed_->finish();
  EXPECT_EQ(0U, fed_->close());
}

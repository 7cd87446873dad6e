#include "host/record/FeedBacklog.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

constexpr std::uint64_t LARGE = 1 << 30;

/** Frames of a second each, the time of one being its name; the test is their session. */
class FeedBacklogTest : public testing::Test {
 protected:
  using Names = std::vector<std::int64_t>;

  void make(std::uint64_t spoolLimit = LARGE) {
    backlog_ = std::make_unique<FeedBacklog>(1, directory(), spoolLimit);
  }
  [[nodiscard]] std::string directory() const { return dir_.path() + "/spool"; }
  void push(std::int64_t name, bool key = false, unsigned int bytes = 100) {
    const std::vector<unsigned char> media(bytes, static_cast<unsigned char>(name));
    const auto kind = key ? KTRFrameFormat::Key : KTRFrameFormat::Delta;
    backlog_->push(
        {KTRFrameWriter::build(kind, 0, {{media.data(), bytes}}), name, key, false, settings_});
  }
  /** A group of pictures of so many frames, a frame a second. */
  void pushGroup(std::int64_t first, int frames) {
    for (int i = 0; i < frames; ++i) {
      push(first + i, i == 0);
      pass(1);
    }
  }
  void pass(long seconds) {
    clock_.advanceSeconds(seconds);
    backlog_->spoolOverdue();
  }
  /** Gives the session all that there is for it. */
  Names giveAll() {
    Names names;
    while (const StreamFrame* frame = backlog_->next()) {
      names.push_back(frame->timeMs);
      backlog_->given();
    }
    return names;
  }
  /** What another process would find, if this one were killed now. */
  [[nodiscard]] Names spooled() const {
    FrameSpool other(directory(), LARGE);
    Names names;
    for (StreamFrame frame; other.take(frame);) names.push_back(frame.timeMs);
    return names;
  }
  [[nodiscard]] bool hasSpoolFiles() const {
    std::error_code none;
    return fs::directory_iterator(directory(), none) != fs::directory_iterator();
  }

  LogCapture log_;
  ManualClock clock_;
  TempDir dir_;
  std::shared_ptr<const StreamSettings> settings_ = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("n", 25, 0, "h264", "640x360", ""));
  std::unique_ptr<FeedBacklog> backlog_ = std::make_unique<FeedBacklog>(1, directory(), LARGE);
};

}  // namespace

TEST_F(FeedBacklogTest, ASessionIsGivenAllFramesInOrder) {
  push(1, true);
  push(2);
  EXPECT_EQ(0U, backlog_->begin());
  EXPECT_THAT(giveAll(), ElementsAre(1, 2));
  push(3);
  EXPECT_EQ(1U, backlog_->waiting());
  EXPECT_THAT(giveAll(), ElementsAre(3));
  EXPECT_EQ(0U, backlog_->waiting());
}

TEST_F(FeedBacklogTest, TheNextSessionBeginsAtTheKeyFrameOfWhatIsNotRecorded) {
  pushGroup(1, 3);
  pushGroup(11, 3);
  (void)backlog_->begin();
  (void)giveAll();
  const FeedBacklog::Recorded recorded = backlog_->end(5, 0);
  EXPECT_EQ(5U, recorded.frames);
  EXPECT_EQ(12, recorded.timeMs);
  EXPECT_EQ(1U, backlog_->waiting());
  EXPECT_EQ(2U, backlog_->begin());
  EXPECT_THAT(giveAll(), ElementsAre(11, 12, 13));
}

TEST_F(FeedBacklogTest, WhatTheFileLacksIsNotRecorded) {
  pushGroup(1, 4);
  (void)backlog_->begin();
  const std::uint64_t last = backlog_->bytesOfFirst(4) - backlog_->bytesOfFirst(3) + 8;
  (void)giveAll();
  EXPECT_EQ(3U, backlog_->end(4, last).frames);
  EXPECT_EQ(1U, backlog_->waiting());
}

TEST_F(FeedBacklogTest, WhatAnEarlierSessionHasRecordedStaysSo) {
  pushGroup(1, 4);
  (void)backlog_->begin();
  (void)giveAll();
  (void)backlog_->end(3, 0);
  EXPECT_EQ(3U, backlog_->begin());
  (void)giveAll();
  EXPECT_EQ(1U, backlog_->end(1, 0).frames);
  EXPECT_EQ(1U, backlog_->waiting());
}

TEST_F(FeedBacklogTest, OnlyTheGroupThatIsBeingRecordedIsKept) {
  pushGroup(1, 3);
  pushGroup(11, 3);
  (void)backlog_->begin();
  (void)giveAll();
  const std::uint64_t group = backlog_->bytesOfFirst(3);
  backlog_->settle(4);
  EXPECT_EQ(group, backlog_->bytesOfFirst(6));
}

TEST_F(FeedBacklogTest, WithoutAKeyFrameThereIsNothingToBeginWith) {
  push(1);
  EXPECT_FALSE(backlog_->begin());
  EXPECT_EQ(1U, backlog_->lost());
  EXPECT_EQ(1U, log_.count(KTLogger::Warning,
                           "stream 1: the record session has ended: frames are lost up to a key "
                           "frame"));
}

TEST_F(FeedBacklogTest, WhatNoSessionTakesForTheFlushIntervalIsSpooled) {
  push(1, true);
  push(2);
  pass(10);
  EXPECT_FALSE(hasSpoolFiles());
  push(3);
  pass(1);
  EXPECT_THAT(spooled(), ElementsAre(1, 2, 3));
}

TEST_F(FeedBacklogTest, NoFrameIsInMemoryAloneForLongerThanTheFlushInterval) {
  for (std::int64_t second = 0; second < 100; ++second) {
    push(second, second % 7 == 0);
    const Names safe = spooled();
    if (second >= 11) {
      EXPECT_LE(second - 11, safe.empty() ? -1 : safe.back()) << second;
    }
    pass(1);
  }
}

TEST_F(FeedBacklogTest, TheNextFrameSpoolsWhatIsOverdueWhenNobodyLooks) {
  push(1, true);
  clock_.advanceSeconds(11);
  push(2);
  EXPECT_THAT(spooled(), ElementsAre(1, 2));
}

TEST_F(FeedBacklogTest, ASessionThatStoresItsFramesNeedsNoSpool) {
  (void)backlog_->begin();
  push(0, true);
  ASSERT_TRUE(backlog_->begin());
  for (std::int64_t second = 1; second < 60; ++second) {
    (void)giveAll();
    backlog_->noteStored(static_cast<std::uint64_t>(second));
    // Its own flushes bring a frame to the disk within 11 seconds and the distance to the next.
    if (second > 12) backlog_->settle(static_cast<std::uint64_t>(second) - 12);
    pass(1);
    push(second, second % 5 == 0);
    ASSERT_FALSE(hasSpoolFiles()) << second;
  }
}

TEST_F(FeedBacklogTest, WhatASessionThatStandsStillHasInItsBufferIsSpooled) {
  pushGroup(1, 10);
  ASSERT_TRUE(backlog_->begin());
  (void)giveAll();
  backlog_->noteStored(10);
  push(20);
  (void)giveAll();
  pass(1);
  EXPECT_THAT(spooled(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 20));
}

TEST_F(FeedBacklogTest, CopiesAreGivenOnceAndGoWhenTheyAreOnDisk) {
  pushGroup(1, 12);
  push(13, true);
  ASSERT_TRUE(hasSpoolFiles());
  EXPECT_EQ(13U, backlog_->waiting());
  ASSERT_TRUE(backlog_->begin());
  EXPECT_THAT(giveAll(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
  EXPECT_EQ(0U, backlog_->waiting());
  backlog_->noteStored(13);
  backlog_->settle(10);
  EXPECT_TRUE(hasSpoolFiles());
  EXPECT_EQ(0U, log_.countContaining("is recorded"));
  backlog_->settle(13);
  EXPECT_EQ(1U, log_.count(KTLogger::Warning,
                           "stream 1: what waited in " + directory() + " is recorded"));
  EXPECT_EQ(13U, backlog_->end(13, 0).frames);
  backlog_->leave();
  EXPECT_FALSE(hasSpoolFiles());
}

TEST_F(FeedBacklogTest, WhatComesBehindCopiesKeepsItsPlace) {
  pushGroup(1, 12);
  for (std::int64_t i = 13; i < 20; ++i) push(i, i % 2 != 0, 1'000'000);
  ASSERT_TRUE(backlog_->begin());
  EXPECT_THAT(spooled(),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19));
  EXPECT_THAT(giveAll(),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19));
}

TEST_F(FeedBacklogTest, WhatIsLeftIsTakenByTheNextProcessOnceAndInOrder) {
  pushGroup(1, 12);
  push(13, true);
  push(14);
  backlog_->leave();
  EXPECT_EQ(14U, backlog_->waiting());
  EXPECT_EQ(0U, backlog_->lost());
  make();
  EXPECT_TRUE(backlog_->hasLeftover());
  push(15);
  ASSERT_TRUE(backlog_->begin());
  EXPECT_THAT(giveAll(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

TEST_F(FeedBacklogTest, WhatIsStoredAlreadyIsPassedOver) {
  pushGroup(1, 12);
  make();
  backlog_->skipStored([](const StreamFrame& frame) { return frame.timeMs < 9; });
  EXPECT_EQ(8U, backlog_->begin());
  EXPECT_THAT(giveAll(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(FeedBacklogTest, WithoutASpoolTheFramesStayInMemory) {
  make(0);
  pushGroup(1, 30);
  EXPECT_FALSE(fs::exists(directory()));
  ASSERT_TRUE(backlog_->begin());
  EXPECT_EQ(30U, giveAll().size());
}

TEST_F(FeedBacklogTest, WithoutASpoolWhatIsLeftIsLost) {
  make(0);
  pushGroup(1, 3);
  backlog_->leave();
  EXPECT_EQ(3U, backlog_->lost());
  EXPECT_EQ(0U, backlog_->waiting());
}

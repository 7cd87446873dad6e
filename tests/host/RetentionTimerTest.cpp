#include "host/retain/RetentionTimer.h"

#include "tests/host/RetentionFixture.h"
#include "tests/host/UsageErrors.h"

namespace {

class RetentionTimerTest : public RetentionFixture {
 protected:
  [[nodiscard]] unsigned int warnings(const std::string& text) const {
    return log_.countContaining("retention: " + text);
  }
};

}  // namespace

TEST_F(RetentionTimerTest, RunsAtOnceAndEveryThirtySeconds) {
  record(1, NOW - 10 * DAY, 3);
  RetentionTimer timer(*handle_, optionsOf(maxSlices(2)));
  EXPECT_EQ("1.1 1.2", onDisk());
  record(2, NOW - 9 * DAY, 1);
  clock_.advanceSeconds(29);
  EXPECT_FALSE(timer.runIfDue());
  EXPECT_EQ("1.1 1.2 2.0", onDisk());
  clock_.advanceSeconds(1);
  EXPECT_FALSE(timer.runIfDue());
  EXPECT_EQ("1.2 2.0", onDisk());
}

TEST_F(RetentionTimerTest, LogsEveryDeletionWithSizeAndReason) {
  diskSlices_ = 10;
  record(1, NOW - DAY, 9);
  const RetentionTimer timer(*handle_, optionsOf(minFreeSlices(3)));
  EXPECT_TRUE(log_.has(64,
                       "retention: deleted slice 0 of session 1, stream 1, 2026-01-01 10:00:00 to "
                       "2026-01-01 10:01:40: 1.0 KiB: 1.0 KiB of the disk are free, 2.9 KiB are to "
                       "be"));
  EXPECT_EQ(2U, warnings("deleted slice"));
}

TEST_F(RetentionTimerTest, TellsOfAProblemOnceForAsLongAsItLasts) {
  record(1, NOW - DAY, 3);
  RetentionPolicy policy = maxSlices(1);
  policy.keepAtLeast = 2 * DAY;
  RetentionTimer timer(*handle_, optionsOf(policy));
  clock_.advanceSeconds(30);
  EXPECT_FALSE(timer.runIfDue());
  EXPECT_EQ(1U, warnings("the recorder holds"));
}

TEST_F(RetentionTimerTest, AsksForNewSessionsWhenOnlyOpenOnesAreLeft) {
  record(1, NOW - DAY, 3);
  RetentionRun::Options options = optionsOf(maxSlices(1));
  options.openSessions = [] { return std::set<unsigned int>{1}; };
  RetentionTimer timer(*handle_, options);
  clock_.advanceSeconds(30);
  EXPECT_TRUE(timer.runIfDue());
  EXPECT_EQ("1.0 1.1 1.2", onDisk());
}

TEST_F(RetentionTimerTest, ADiskThatDoesNotAnswerEndsNoRecording) {
  RetentionRun::Options options = optionsOf(minFreeSlices(1));
  bool answers = true;
  options.space = [&answers](const std::string& path) {
    return answers ? FileSystemSpace{10 * SLICE, 10 * SLICE} : FileSystemSpace::at(path + "/gone");
  };
  RetentionTimer timer(*handle_, options);
  answers = false;
  clock_.advanceSeconds(30);
  EXPECT_FALSE(timer.runIfDue());
  EXPECT_EQ(1U, warnings("cannot tell the free space of"));
}

TEST_F(RetentionTimerTest, BeginsNoRecordingWithAFloorThatTheDiskCannotHold) {
  diskSlices_ = 10;
  EXPECT_THAT(failureOf([&] {
                const RetentionTimer timer(*handle_, optionsOf(minFreeSlices(10)));
                return 0;
              }),
              testing::HasSubstr("--min-free"));
}

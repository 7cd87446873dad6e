#include <gmock/gmock.h>

#include "runtime/KTLogger.h"
#include "tests/host_recording/FeedFixture.h"

namespace {

constexpr long DAY = 86400;

/** A wall clock that steps while a steady camera is recorded. */
class SessionFeedClockTest : public FeedFixture, public testing::WithParamInterface<long> {
 protected:
  /** Five groups of pictures at the pace of a session. */
  void recordGroups() {
    for (int i = 0; i < 5; ++i) {
      feedGroups(1);
      settleFeed();
    }
  }
  /** Records, steps the clock at a key frame and records on. */
  void recordAcross(long step) {
    recordGroups();
    clock_.stepWall(step);
    recordGroups();
  }
};

INSTANTIATE_TEST_SUITE_P(, SessionFeedClockTest,
                         testing::Values(3L, -3L, 50L, -50L, 300L, -300L, 3 * 3600L, -3 * 3600L,
                                         DAY, -DAY),
                         [](const testing::TestParamInfo<long>& step) {
                           return (step.param < 0 ? "Back" : "Forward") +
                                  std::to_string(std::labs(step.param));
                         });

}  // namespace

TEST_P(SessionFeedClockTest, AStepLosesNothingAndMakesOneMoreSessionAtMost) {
  recordAcross(GetParam());
  expectAllPlayedByTime();
  EXPECT_EQ(0U, closings());
  EXPECT_EQ(GetParam() < 0 || GetParam() > 60 ? 2U : 1U, sessions());
}

TEST_P(SessionFeedClockTest, AStepNearMidnightLosesNothing) {
  goTo(MIDNIGHT - 30);
  recordAcross(GetParam());
  expectAllPlayedByTime();
  EXPECT_EQ(0U, closings());
}

TEST_P(SessionFeedClockTest, AStepOfTheClockOfSoundLosesNothing) {
  makeSound();
  for (int i = 0; i < 20; ++i) {
    if (i == 10) clock_.stepWall(GetParam());
    feedSound();
    settleFeed();
    pass(1);
  }
  expectAllPlayedByTime();
  EXPECT_EQ(0U, closings());
}

TEST_P(SessionFeedClockTest, FramesThatWaitKeepTheTimesFromBeforeAndBehindAStep) {
  obstruct();
  feedGroups(5);
  clock_.stepWall(GetParam());
  feedGroups(5);
  clearTheWay();
  expectAllPlayedByTime();
  EXPECT_EQ(0U, closings());
}

#include "host/media/MediaPacer.h"

#include <gtest/gtest.h>

#include <numeric>

#include "tests/support/ManualClock.h"

namespace {

class MediaPacerTest : public testing::Test {
 protected:
  // All the sleep that was asked for, in microseconds.
  [[nodiscard]] std::int64_t slept() const {
    const auto sleeps = clock_.sleeps();
    return std::accumulate(sleeps.begin(), sleeps.end(), KTClock::Span(0)).count();
  }

  ManualClock clock_;
  MediaStop stop_;
  MediaPacer pacer_{stop_};
};

TEST_F(MediaPacerTest, FirstFrameIsDueAtOnce) {
  EXPECT_TRUE(pacer_.wait(5'000'000));
  EXPECT_EQ(slept(), 0);
}

TEST_F(MediaPacerTest, LaterFramesWaitForTheirTime) {
  ASSERT_TRUE(pacer_.wait(-80'000));
  EXPECT_TRUE(pacer_.wait(-40'000));
  EXPECT_EQ(slept(), 40'000);
  EXPECT_TRUE(pacer_.wait(960'000));
  EXPECT_EQ(slept(), 1'040'000);
}

TEST_F(MediaPacerTest, LateFrameDoesNotWait) {
  ASSERT_TRUE(pacer_.wait(0));
  clock_.advanceSeconds(3);
  EXPECT_TRUE(pacer_.wait(3'000'000));
  EXPECT_EQ(slept(), 0);
}

TEST_F(MediaPacerTest, NoSleepIsLongerThanAStep) {
  ASSERT_TRUE(pacer_.wait(0));
  ASSERT_TRUE(pacer_.wait(1'000'000));
  for (const KTClock::Span sleep : clock_.sleeps()) EXPECT_LE(sleep, MediaPacer::STEP);
}

TEST_F(MediaPacerTest, StopEndsTheWaitUnslept) {
  ASSERT_TRUE(pacer_.wait(0));
  stop_.request();
  EXPECT_FALSE(pacer_.wait(1'000'000));
  EXPECT_EQ(slept(), 0);
}

}  // namespace

#include "host/bench/FrameClock.h"

#include <gtest/gtest.h>

#include "tests/support/ManualClock.h"

TEST(FrameClockTest, BeginsAtTheSecondOfTheClockBelowAndMovesWithTheFrames) {
  ManualClock below(1000);
  FrameClock clock;
  EXPECT_EQ(1000, clock.beginning());
  clock.moveTo(2345);
  EXPECT_EQ(KTTimeValue(1002, 345000), KTTimeValue::now());
}

TEST(FrameClockTest, BeginsWhereItIsTold) {
  const FrameClock clock(77);
  EXPECT_EQ(77, KTTimeValue::now().tv_sec);
}

TEST(FrameClockTest, PutsTheClockBelowBack) {
  ManualClock below(1000);
  { const FrameClock clock(77); }
  EXPECT_EQ(&below, KTClock::instance());
  EXPECT_EQ(1000, KTTimeValue::now().tv_sec);
}

TEST(FrameClockTest, SpansAreThoseOfTheClockBelow) {
  ManualClock below;
  FrameClock clock;
  below.advanceSeconds(5);
  clock.moveTo(60'000);
  EXPECT_EQ(std::chrono::seconds(5), clock.elapsed());
  clock.sleep(KTTimeValue(3, 0));
  EXPECT_EQ(std::chrono::seconds(8), clock.elapsed());
}

TEST(FrameClockTest, RestsAreThoseOfTheClockBelow) {
  ManualClock below;
  below.letRest();
  FrameClock clock;
  EXPECT_EQ(std::chrono::milliseconds(80), clock.restEnd(std::chrono::milliseconds(80)));
}

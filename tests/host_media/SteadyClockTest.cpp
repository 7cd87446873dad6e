#include "host/media/SteadyClock.h"

#include <gtest/gtest.h>

#include "runtime/KTTask.h"
#include "tests/support/ManualClock.h"

namespace {

class SteadyClockTest : public testing::Test {
 protected:
  static constexpr long START = 1700000000;

  ManualClock below_{START};
};

}  // namespace

TEST_F(SteadyClockTest, GoesOnWhereTheWallClockSteps) {
  const SteadyClock clock;
  below_.advance(std::chrono::milliseconds(1500));
  below_.stepWall(-3600);
  EXPECT_EQ(KTTimeValue(START + 1, 500'000), KTTimeValue::now());
  EXPECT_EQ(KTTimeValue(START - 3599, 500'000), SteadyClock::wall());
}

TEST_F(SteadyClockTest, TheClockBelowIsPutBack) {
  { const SteadyClock clock; }
  EXPECT_EQ(&below_, KTClock::instance());
  below_.stepWall(10);
  EXPECT_EQ(START + 10, KTTimeValue::now().tv_sec);
  EXPECT_EQ(START + 10, SteadyClock::wall().tv_sec);
}

TEST_F(SteadyClockTest, SleepsOnTheClockBelow) {
  const SteadyClock clock;
  KTTask::Sleep(KTTimeValue(2, 0));
  EXPECT_EQ(START + 2, KTTimeValue::now().tv_sec);
  EXPECT_EQ(1U, below_.sleeps().size());
}

TEST_F(SteadyClockTest, RestsAreThoseOfTheClockBelow) {
  below_.letRest();
  SteadyClock clock;
  EXPECT_EQ(clock.elapsed() + std::chrono::milliseconds(80),
            clock.restEnd(std::chrono::milliseconds(80)));
}

#include "host/media/FrameStamper.h"

#include <gtest/gtest.h>

#include "tests/support/ManualClock.h"

namespace {

constexpr long DAY_START = 1699920000;  // a midnight, UTC
constexpr long MORNING = DAY_START + 8 * 3600;
constexpr std::uint32_t MORNING_MS = 8 * 3600 * 1000;

class FrameStamperTest : public testing::Test {
 protected:
  // A frame that arrives this long after the one before.
  std::uint32_t arrive(long afterMs, std::int64_t dtsMs, bool key = false) {
    clock_.advance(std::chrono::milliseconds(afterMs));
    return stamper_.stamp(dtsMs, key);
  }

  ManualClock clock_{MORNING};
  FrameStamper stamper_;
};

TEST_F(FrameStamperTest, FirstFrameIsStampedWithTheWallClock) {
  clock_.advance(std::chrono::milliseconds(250));
  EXPECT_EQ(stamper_.stamp(-133, true), MORNING_MS + 250);
}

TEST_F(FrameStamperTest, DistancesAreTheStreamsOwn) {
  const std::uint32_t first = arrive(0, 7000, true);
  EXPECT_EQ(arrive(90, 7040), first + 40);  // late by the network
  EXPECT_EQ(arrive(0, 7073), first + 73);
}

TEST_F(FrameStamperTest, WrapsAtMidnight) {
  clock_.stepWall(DAY_START + 86400 - MORNING - 1);
  EXPECT_EQ(arrive(0, 0, true), 86'399'000U);
  EXPECT_EQ(arrive(999, 999), 86'399'999U);
  EXPECT_EQ(arrive(1, 1000), 0U);
  EXPECT_EQ(arrive(40, 1040), 40U);
}

TEST_F(FrameStamperTest, TwoSecondsOfDriftAreKept) {
  const std::uint32_t first = arrive(0, 0, true);
  EXPECT_EQ(arrive(12000, 10000, true), first + 10000);
}

TEST_F(FrameStamperTest, AfterAPauseTheNextKeyFrameFollowsTheWallClock) {
  const std::uint32_t first = arrive(0, 0, true);
  EXPECT_EQ(arrive(5000, 40), first + 40);
  EXPECT_EQ(arrive(40, 80, true), first + 5040);
  EXPECT_EQ(arrive(40, 120), first + 5080);
}

TEST_F(FrameStamperTest, StreamThatRanAheadWaitsWithoutGoingBack) {
  const std::uint32_t first = arrive(0, 0, true);
  EXPECT_EQ(arrive(1000, 4000), first + 4000);
  EXPECT_EQ(arrive(0, 4040, true), first + 4001);
  EXPECT_EQ(arrive(40, 4080), first + 4002);
  EXPECT_EQ(arrive(3960, 8040), first + 5000);  // the wall clock has caught up
}

TEST_F(FrameStamperTest, WallClockPutFarBackTakesTheStampsWithIt) {
  arrive(0, 0, true);
  clock_.stepWall(-3600);
  EXPECT_EQ(arrive(40, 40), MORNING_MS + 40);
  EXPECT_EQ(arrive(40, 80, true), MORNING_MS - 3'600'000 + 80);
  EXPECT_EQ(arrive(40, 120), MORNING_MS - 3'600'000 + 120);
}

TEST_F(FrameStamperTest, WallClockPutBackByLittleTakesTheStampsWithIt) {
  const std::uint32_t first = arrive(0, 0, true);
  clock_.stepWall(-3);
  EXPECT_EQ(arrive(40, 40), first + 40);
  EXPECT_FALSE(stamper_.wentBack());
  EXPECT_EQ(arrive(40, 80, true), first - 3000 + 80);
  EXPECT_TRUE(stamper_.wentBack());
  EXPECT_EQ(arrive(40, 120), first - 3000 + 120);
  EXPECT_FALSE(stamper_.wentBack());
}

TEST_F(FrameStamperTest, WallClockPutBackWithinTheDriftMovesNothing) {
  const std::uint32_t first = arrive(0, 0, true);
  const std::int64_t sound = stamper_.clockUs(0);
  clock_.stepWall(-2);
  EXPECT_EQ(arrive(40, 40, true), first + 40);
  EXPECT_FALSE(stamper_.wentBack());
  EXPECT_EQ(sound, stamper_.clockUs(0));
}

TEST_F(FrameStamperTest, SoundGoesBackByLittleWithTheFrames) {
  arrive(0, 5000, true);
  const std::int64_t sound = stamper_.clockUs(5'000'000);
  clock_.stepWall(-3);
  arrive(40, 5040);
  EXPECT_EQ(sound, stamper_.clockUs(5'000'000));
  arrive(40, 5080, true);
  EXPECT_EQ(sound - 3'000'000, stamper_.clockUs(5'000'000));
  EXPECT_EQ(stamper_.timeMs() * 1000, stamper_.clockUs(5'080'000));
}

TEST_F(FrameStamperTest, WallClockPutForwardMovesTheStampsAtAKeyFrame) {
  arrive(0, 0, true);
  clock_.stepWall(3600);
  EXPECT_EQ(arrive(40, 40, true), MORNING_MS + 3'600'000 + 40);
}

TEST_F(FrameStamperTest, EqualTimesStillRise) {
  const std::uint32_t first = arrive(0, 0, true);
  EXPECT_EQ(arrive(0, 0), first + 1);
}

TEST_F(FrameStamperTest, SoundHasTheClockOfTheFrames) {
  EXPECT_FALSE(stamper_.started());
  const std::int64_t first = arrive(0, 5000, true);
  EXPECT_TRUE(stamper_.started());
  EXPECT_EQ(stamper_.clockUs(5'000'000) / 1000 % FrameStamper::DAY_MS, first);
  EXPECT_EQ(stamper_.clockUs(5'040'123) - stamper_.clockUs(5'000'000), 40'123);
  clock_.stepWall(3600);
  arrive(40, 5040, true);
  EXPECT_EQ(stamper_.clockUs(5'040'000) / 1000 % FrameStamper::DAY_MS, first + 3'600'040);
}

}  // namespace

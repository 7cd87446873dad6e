#include "host/play/StampUnwrapper.h"

#include <gtest/gtest.h>

namespace {

constexpr std::int64_t MIDNIGHT = 1700006400;  // 00:00 UTC
constexpr std::uint32_t LAST_MS = 86'399'999;

}  // namespace

TEST(StampUnwrapperTest, PlacesTheFirstFrameNearTheStart) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT + 3600);
  EXPECT_EQ((MIDNIGHT + 3600) * 1000 + 250, stamps.unwrap(3'600'250));
}

TEST(StampUnwrapperTest, TheFirstFrameMayLieALittleBeforeTheStart) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT + 3600);
  EXPECT_EQ((MIDNIGHT + 3600) * 1000 - 10, stamps.unwrap(3'599'990));
}

TEST(StampUnwrapperTest, GoesOnOverMidnight) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT - 1);
  EXPECT_EQ(MIDNIGHT * 1000 - 1, stamps.unwrap(LAST_MS));
  EXPECT_EQ(MIDNIGHT * 1000, stamps.unwrap(0));
  EXPECT_EQ(MIDNIGHT * 1000 + 40, stamps.unwrap(40));
}

TEST(StampUnwrapperTest, GoesBackOverMidnight) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT);
  EXPECT_EQ(MIDNIGHT * 1000 + 5, stamps.unwrap(5));
  EXPECT_EQ(MIDNIGHT * 1000 - 1, stamps.unwrap(LAST_MS));
}

TEST(StampUnwrapperTest, CountsManyDays) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT);
  std::int64_t last = 0;
  constexpr int quarters = 40;
  for (int i = 0; i <= quarters; ++i) last = stamps.unwrap(i % 4 * (StampUnwrapper::DAY_MS / 4));
  EXPECT_EQ(MIDNIGHT * 1000 + quarters / 4 * StampUnwrapper::DAY_MS, last);
}

TEST(StampUnwrapperTest, ForgetsWhatWasBeforeARestart) {
  StampUnwrapper stamps;
  stamps.restart(MIDNIGHT);
  (void)stamps.unwrap(0);
  stamps.restart(MIDNIGHT + 10 * 86400);
  EXPECT_EQ((MIDNIGHT + 10 * 86400) * 1000, stamps.unwrap(0));
}

#include "host/bench/Measurement.h"

#include <gmock/gmock.h>

TEST(MeasurementTest, RatesFollowFromTheTotals) {
  Measurement result;
  result.seconds = 2;
  result.cpuSeconds = 0.5;
  result.kernelCpuSeconds = 0.25;
  result.serverCpuSeconds = 7;  // shown beside, not added
  result.bytes = 3'000'000'000;
  result.operations = 10;
  EXPECT_DOUBLE_EQ(0.75, result.allCpuSeconds());
  EXPECT_DOUBLE_EQ(0.25, result.cpuSecondsPerGb());
  EXPECT_DOUBLE_EQ(1.5e9, result.bytesPerSecond());
  EXPECT_DOUBLE_EQ(5, result.operationsPerSecond());
}

TEST(MeasurementTest, NothingDoneHasNoRates) {
  const Measurement nothing;
  EXPECT_EQ(0, nothing.cpuSecondsPerGb());
  EXPECT_EQ(0, nothing.bytesPerSecond());
  EXPECT_EQ(0, nothing.operationsPerSecond());
}

TEST(MeasurementTest, CountsThatDifferAreAFlaw) {
  Measurement result;
  result.expectEqual("frames", 5, 5);
  EXPECT_THAT(result.flaws, testing::IsEmpty());
  result.expectEqual("frames", 5, 4);
  EXPECT_THAT(result.flaws, testing::ElementsAre("frames: 4 instead of 5"));
}

TEST(MeasurementTest, MemoryThatWasGivenBackCountsAsNone) {
  Measurement result;
  result.addResident(100, 150);
  EXPECT_EQ(50U, result.residentBytes);
  result.addResident(150, 100);
  EXPECT_EQ(0U, result.residentBytes);
}

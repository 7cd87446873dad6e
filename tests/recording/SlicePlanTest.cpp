#include "recording/SlicePlan.h"

#include <gtest/gtest.h>

namespace {

void expectPlan(int preEventFrames, unsigned int framesPerSlice, unsigned int maxSlices) {
  const SlicePlan plan = SlicePlan::of(preEventFrames);
  EXPECT_EQ(plan.framesPerSlice, framesPerSlice) << preEventFrames;
  EXPECT_EQ(plan.maxSlices, maxSlices) << preEventFrames;
}

TEST(SlicePlanTest, WithoutAWishTwoSlicesOfFiveFramesServe) {
  expectPlan(0, 5, 2);
}

TEST(SlicePlanTest, HalfOfTheWantedFramesMakeASlice) {
  expectPlan(10, 5, 3);
  expectPlan(7, 3, 3);
  expectPlan(3, 1, 4);
  expectPlan(2, 1, 3);
}

TEST(SlicePlanTest, OneWantedFrameDividesByNothing) {
  expectPlan(1, 0, 2);
}

}  // namespace

#include "host/media/MediaTimeline.h"

#include <gtest/gtest.h>

namespace {

class MediaTimelineTest : public testing::Test {
 protected:
  MediaTimeline::Times place(MediaTimeline::Stamp dts, MediaTimeline::Stamp pts) {
    return timeline_.place(dts, pts);
  }
  std::int64_t dtsOf(MediaTimeline::Stamp dts) { return place(dts, dts).dtsUs; }

  MediaTimeline timeline_{40'000, 2};
};

TEST_F(MediaTimelineTest, SoundStampsPassUnchanged) {
  const auto times = place(-80'000, 0);
  EXPECT_EQ(times.dtsUs, -80'000);
  EXPECT_EQ(times.ptsUs, 0);
  EXPECT_FALSE(times.jumped);
  EXPECT_EQ(dtsOf(9'920'000), 9'920'000);  // a pause of ten seconds is no jump
}

TEST_F(MediaTimelineTest, WithoutStampsTheFramesAreCounted) {
  EXPECT_EQ(dtsOf({}), 0);
  EXPECT_EQ(dtsOf({}), 40'000);
  EXPECT_EQ(dtsOf({}), 80'000);
}

TEST_F(MediaTimelineTest, MissingDecodingTimesAreDerived) {
  EXPECT_EQ(place({}, 0).dtsUs, -80'000);
  EXPECT_EQ(place({}, 120'000).dtsUs, -40'000);
  EXPECT_EQ(place(0, 40'000).dtsUs, 0);
}

TEST_F(MediaTimelineTest, MissingPresentationTimeIsTheDecodingTime) {
  EXPECT_EQ(place(5'000'000, {}).ptsUs, 5'000'000);
}

TEST_F(MediaTimelineTest, LittleDisorderIsSmoothed) {
  EXPECT_EQ(dtsOf(1'000'000), 1'000'000);
  const auto times = place(990'000, 990'000);
  EXPECT_EQ(times.dtsUs, 1'001'000);
  EXPECT_EQ(times.ptsUs, 1'001'000);
  EXPECT_FALSE(times.jumped);
  EXPECT_EQ(dtsOf(1'040'000), 1'040'000);
}

TEST_F(MediaTimelineTest, ClockThatBeginsAgainGoesOnOneFrameLater) {
  EXPECT_EQ(dtsOf(5'000'000), 5'000'000);
  const auto times = place(0, 80'000);
  EXPECT_TRUE(times.jumped);
  EXPECT_EQ(times.dtsUs, 5'040'000);
  EXPECT_EQ(times.ptsUs, 5'120'000);
  EXPECT_FALSE(place(40'000, 40'000).jumped);
  EXPECT_EQ(dtsOf(80'000), 5'120'000);
}

TEST_F(MediaTimelineTest, LongPauseIsAJump) {
  EXPECT_EQ(dtsOf(0), 0);
  const auto times = place(10'000'001, 10'000'001);
  EXPECT_TRUE(times.jumped);
  EXPECT_EQ(times.dtsUs, 40'000);
}

}  // namespace

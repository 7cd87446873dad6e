#include "host/check/RowMaker.h"

#include <gtest/gtest.h>

namespace {

constexpr int64_t START_MS = 1'767'268'800'000;

class RowMakerTest : public testing::Test {
 protected:
  bool needsRow(KTRFrameFormat::Kind kind, int64_t ms, bool hasRow = false) {
    SessionWalk::Frame frame;
    frame.record.kind = kind;
    frame.timeMs = START_MS + ms;
    frame.record.stampMs = static_cast<uint32_t>(frame.timeMs % 86'400'000);
    frame.strayStamp = stray_;
    return maker_.needsRow(frame, hasRow);
  }

  RowMaker maker_{40'000};
  bool stray_ = false;
};

}  // namespace

TEST_F(RowMakerTest, OneKeyFrameASecondHasARow) {
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 100));
  EXPECT_FALSE(needsRow(KTRFrameFormat::Key, 999));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 1000));
  EXPECT_FALSE(needsRow(KTRFrameFormat::Delta, 2000));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 2040));
}

TEST_F(RowMakerTest, OneFrameOfSoundASecondHasARow) {
  EXPECT_TRUE(needsRow(KTRFrameFormat::Audio, 0));
  EXPECT_EQ(100'000U, maker_.delayUsec());
  EXPECT_FALSE(needsRow(KTRFrameFormat::Audio, 250));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Audio, 1250));
}

TEST_F(RowMakerTest, AJpegPictureHasARowEveryThreeSeconds) {
  EXPECT_TRUE(needsRow(KTRFrameFormat::Jpeg, 0));
  EXPECT_FALSE(needsRow(KTRFrameFormat::Jpeg, 3000));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Jpeg, 3001));
}

TEST_F(RowMakerTest, TheRhythmOfJpegPicturesFollowsTheRowsThereAre) {
  EXPECT_TRUE(needsRow(KTRFrameFormat::Jpeg, 0));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Jpeg, 2000, true));
  EXPECT_FALSE(needsRow(KTRFrameFormat::Jpeg, 3500));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Jpeg, 5100));
}

TEST_F(RowMakerTest, AFrameWithAStrayStampHasNone) {
  stray_ = true;
  EXPECT_FALSE(needsRow(KTRFrameFormat::Key, 0));
  stray_ = false;
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 100));
}

TEST_F(RowMakerTest, TheDelayIsTheDistanceOfRowsByTheFramesSoFar) {
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 0));
  EXPECT_EQ(40'000U, maker_.delayUsec());
  for (int i = 0; i < 8; ++i) EXPECT_FALSE(needsRow(KTRFrameFormat::Delta, 100 * i));
  EXPECT_TRUE(needsRow(KTRFrameFormat::Key, 1000));
  EXPECT_EQ(100'000U, maker_.delayUsec());
}

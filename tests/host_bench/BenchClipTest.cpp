#include "host/bench/BenchClip.h"

#include <gtest/gtest.h>

#include "runtime/KTRVideoFrame.h"

namespace {

const BenchClip& clip() {
  static const BenchClip made;
  return made;
}

}  // namespace

TEST(BenchClipTest, RunsAtFourMegabitsASecond) {
  constexpr unsigned int SECONDS = 60;
  const double bytes = static_cast<double>(clip().bytes(SECONDS * BenchClip::FRAME_RATE));
  EXPECT_NEAR(bytes / SECONDS, BenchClip::BIT_RATE / 8.0, BenchClip::BIT_RATE / 8.0 / 20);
}

TEST(BenchClipTest, FramesAreTheirPicturesWithAStamp) {
  KTRVideoFrame parsed;
  for (const std::uint64_t number : {0U, 1U, 25U, 99U, 100U, 12345U}) {
    ASSERT_TRUE(parsed.parse(clip().frame(number, 4711)));
    const PictureEncoder::Picture& picture = clip().picture(number);
    EXPECT_EQ(4711U, parsed.timeStamp());
    EXPECT_EQ(BenchClip::isKey(number), parsed.isKFrame()) << number;
    EXPECT_EQ(KTDataBlock(picture.bytes.data(), static_cast<unsigned int>(picture.bytes.size())),
              parsed.payload());
  }
}

TEST(BenchClipTest, EveryKeyFrameButTheLastHasARow) {
  EXPECT_EQ(0U, BenchClip::indexRows(0));
  EXPECT_EQ(0U, BenchClip::indexRows(25));
  EXPECT_EQ(1U, BenchClip::indexRows(26));
  EXPECT_EQ(3599U, BenchClip::indexRows(90'000));
}

TEST(BenchClipTest, BytesAreThoseOfTheFrames) {
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < 130; ++i) sum += clip().frame(i, 0).size;
  EXPECT_EQ(sum, clip().bytes(130));
}

#include "host/media/MediaContainer.h"

#include <gmock/gmock.h>

#include "host/media/MediaError.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

using testing::HasSubstr;

class MediaContainerTest : public testing::TestWithParam<const char*> {
 protected:
  std::vector<KTDataBlock> record(const std::string& name, const TestClip::Form& form) {
    return framesOf(TestClip::make(dir_.path() + "/" + name, form));
  }

  // Writes frames, the n-th with the n-th stamp, and answers when ffprobe sees them shown.
  std::vector<double> shown(const std::vector<KTDataBlock>& frames,
                            const std::vector<std::int64_t>& stampsMs) {
    MediaOutput output(path_, MediaCodec::H264);
    KTRVideoFrame frame;
    for (size_t i = 0; i < stampsMs.size(); ++i) {
      EXPECT_TRUE(frame.parse(frames[i]));
      output.write(stampsMs[i], frame);
    }
    output.finish();
    std::vector<double> times;
    for (const std::string& time : TestClip::packets(path_, "pts_time")) {
      times.push_back(std::stod(time) * 1000);
    }
    return times;
  }

  TempDir dir_;
  std::string path_ = dir_.path() + "/out" + GetParam();
};

TEST_P(MediaContainerTest, PresentationTimesAreThoseOfTheFrames) {
  const std::vector<KTDataBlock> frames = record("a.mp4", {.bFrames = 2, .frameRate = 30});
  std::vector<std::int64_t> stamps;
  std::vector<double> expected;
  KTRVideoFrame frame;
  for (const KTDataBlock& block : frames) {
    ASSERT_TRUE(frame.parse(block));
    stamps.push_back(frame.timeStamp());
    expected.push_back(stamps.back() - stamps.front() + frame.compositionOffset());
  }
  EXPECT_THAT(shown(frames, stamps), testing::Pointwise(testing::DoubleNear(0.1), expected));
}

TEST_P(MediaContainerTest, GapOfTheRecordingStaysAGap) {
  const std::vector<KTDataBlock> frames = record("a.mp4", {});
  const std::int64_t hour = 3'600'000;
  EXPECT_THAT(shown(frames, {hour, hour + 40, 2 * hour, 2 * hour + 33}),
              testing::ElementsAre(0, 40, hour, hour + 33));
}

TEST_P(MediaContainerTest, LastFrameLastsAsLongAsTheOneBefore) {
  shown(record("a.mp4", {}), {0, 100, 200});
  EXPECT_NEAR(std::stod(TestClip::format(path_, "duration")), 0.3, 0.001);
}

TEST_P(MediaContainerTest, StampsThatDoNotRiseStillMakeAFile) {
  const std::vector<double> times = shown(record("a.mp4", {}), {1000, 1000, 990, 1040});
  EXPECT_EQ(times.size(), 4U);
  EXPECT_EQ(times.back(), 40);
}

TEST_P(MediaContainerTest, PictureSizeIsTheCroppedOne) {
  shown(record("a.mp4", {.size = "162x122"}), {0, 40});
  EXPECT_EQ(TestClip::stream(path_, "width"), "162");
  EXPECT_EQ(TestClip::stream(path_, "height"), "122");
}

TEST_P(MediaContainerTest, KeyFramesAreMarked) {
  const std::vector<KTDataBlock> frames = record("a.mp4", {.keyInterval = 10});
  writeFrames(frames, path_, MediaCodec::H264);
  const std::vector<std::string> flags = TestClip::packets(path_, "flags");
  ASSERT_EQ(flags.size(), 50U);
  for (size_t i = 0; i < flags.size(); ++i) EXPECT_EQ(flags[i][0] == 'K', i % 10 == 0) << i;
}

TEST_P(MediaContainerTest, ChangedParameterSetsGoOnWithOneWarning) {
  const LogCapture log;
  std::vector<KTDataBlock> frames = record("a.mp4", {});
  const std::vector<KTDataBlock> large = record("b.mp4", {.size = "320x240"});
  frames.insert(frames.end(), large.begin(), large.end());
  std::vector<std::int64_t> stamps;
  for (size_t i = 0; i < frames.size(); ++i) stamps.push_back(static_cast<std::int64_t>(i) * 40);
  shown(frames, stamps);
  EXPECT_EQ(TestClip::pictures(path_).size(), 100U);
  EXPECT_EQ(log.countContaining("the parameter sets of the video change in the middle"), 1U);
}

TEST_P(MediaContainerTest, KeyFrameThatCannotBeDecodedIsAnError) {
  static const unsigned char bytes[] = {0, 0, 0, 1, 0x65, 1, 2, 3};
  const KTDataBlock frame = KTRFrameWriter::build(KTRFrameFormat::Key, 0, {{bytes, sizeof(bytes)}});
  EXPECT_THAT([&] { writeFrames({frame}, path_, MediaCodec::H264); },
              testing::ThrowsMessage<MediaError>(HasSubstr("cannot be decoded: begin at another")));
}

INSTANTIATE_TEST_SUITE_P(, MediaContainerTest, testing::Values(".mp4", ".mkv"));

}  // namespace

#include "host/media/VideoForm.h"

#include <gtest/gtest.h>

#include "host/media/FrameSource.h"
#include "host/media/MediaInput.h"
#include "runtime/KTRVideoFrame.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

/** The form of the first frame that is recorded of a clip. */
std::optional<MediaSource::Info> formOf(const std::string& codec) {
  const TempDir dir;
  MediaInput::Options options;
  options.realtime = false;
  MediaInput input(TestClip::make(dir.path() + "/clip.mkv", {.codec = codec, .size = "176x144"}),
                   options);
  FrameSource source(input);
  KTDataBlock block;
  KTRVideoFrame frame;
  if (!source.next(block) || !frame.parse(block)) return std::nullopt;
  const KTDataBlock picture = frame.payload();
  return VideoForm::of({picture.data, picture.size});
}

}  // namespace

TEST(VideoFormTest, TellsCodecAndSizeOfAKeyFrame) {
  for (const char* codec : {"h264", "hevc", "mjpeg"}) {
    const auto form = formOf(codec);
    ASSERT_TRUE(form.has_value()) << codec;
    EXPECT_STREQ(codec, mediaCodecName(form->codec));
    EXPECT_EQ(176, form->width) << codec;
    EXPECT_EQ(144, form->height) << codec;
  }
}

TEST(VideoFormTest, TellsNothingOfOtherBytes) {
  const unsigned char bytes[] = "no picture at all";
  EXPECT_FALSE(VideoForm::of(bytes).has_value());
  EXPECT_FALSE(VideoForm::of({}).has_value());
  const unsigned char cut[] = {0xFF, 0xD8, 0xFF, 0xE0};
  EXPECT_EQ(0, VideoForm::of(cut)->width);
}

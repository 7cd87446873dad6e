#include "host/record/VideoSettings.h"

#include <gmock/gmock.h>

namespace {

constexpr unsigned int LONGEST_NAME = 19;

MediaSource::Info info(MediaCodec codec = MediaCodec::H264, int width = 1280, int height = 720,
                       int frameRate = 25) {
  MediaSource::Info info;
  info.codec = codec;
  info.width = width;
  info.height = height;
  info.frameRate = frameRate;
  return info;
}

}  // namespace

TEST(VideoSettingsTest, SaysRateCodecAndSize) {
  const KTRVideoSettingsRow row = videoSettingsOf(info(MediaCodec::Hevc, 1920, 1080, 30));
  EXPECT_THAT(row.settings.c_str(), testing::StartsWith("30,0,hevc,1920x1080,"));
  EXPECT_EQ(30, row.videoParam1);
}

TEST(VideoSettingsTest, EqualSettingsShareAName) {
  EXPECT_STREQ(videoSettingsOf(info()).name.c_str(), videoSettingsOf(info()).name.c_str());
}

TEST(VideoSettingsTest, OtherSettingsHaveOtherNames) {
  const KTString name = videoSettingsOf(info()).name;
  EXPECT_STRNE(name.c_str(), videoSettingsOf(info(MediaCodec::Mjpeg)).name.c_str());
  EXPECT_STRNE(name.c_str(), videoSettingsOf(info(MediaCodec::H264, 1281)).name.c_str());
  EXPECT_STRNE(name.c_str(), videoSettingsOf(info(MediaCodec::H264, 1280, 721)).name.c_str());
  EXPECT_STRNE(name.c_str(), videoSettingsOf(info(MediaCodec::H264, 1280, 720, 26)).name.c_str());
}

TEST(VideoSettingsTest, NamesAreShortAndPlain) {
  for (const int rate : {1, 25, 255}) {
    const KTString name = videoSettingsOf(info(MediaCodec::Mjpeg, 16384, 16384, rate)).name;
    EXPECT_LE(name.view().size(), LONGEST_NAME);
    EXPECT_THAT(name.c_str(), testing::MatchesRegex("[a-z0-9]+"));
  }
}

#include "host/media/MediaCodec.h"

#include <gtest/gtest.h>

namespace {

TEST(MediaCodecTest, EveryNameStandsForItsCodec) {
  for (const auto codec : {MediaCodec::H264, MediaCodec::Hevc, MediaCodec::Mjpeg}) {
    EXPECT_EQ(mediaCodecOf(mediaCodecName(codec)), codec);
  }
  EXPECT_STREQ(mediaCodecName(MediaCodec::Hevc), "hevc");
}

TEST(MediaCodecTest, OtherNamesStandForNone) {
  EXPECT_FALSE(mediaCodecOf("H264").has_value());
  EXPECT_FALSE(mediaCodecOf("").has_value());
}

}  // namespace

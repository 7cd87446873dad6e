#include "host/media/AudioCodec.h"

#include <gtest/gtest.h>

TEST(AudioCodecTest, NamesLeadBackToTheCodec) {
  for (const char* name : {"aac", "opus", "pcm_alaw", "pcm_mulaw", "mp3"}) {
    const auto codec = audioCodecOf(name);
    ASSERT_TRUE(codec.has_value()) << name;
    EXPECT_STREQ(audioCodecName(*codec), name);
  }
}

TEST(AudioCodecTest, OtherNamesAreNoCodec) {
  for (const char* name : {"", "AAC", "aac ", "vorbis", "speex"}) {
    EXPECT_FALSE(audioCodecOf(name).has_value()) << name;
  }
}

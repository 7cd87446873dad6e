#include "host/record/AudioSettings.h"

#include <gtest/gtest.h>

namespace {

const AudioHeader AAC{AudioCodec::Aac, 2, 44100, {0x12, 0x10}};

}  // namespace

TEST(AudioSettingsTest, SaysChannelsCodecAndRate) {
  const KTRAudioSettingsRow row = audioSettingsOf(AAC);
  EXPECT_STREQ(row.settings.c_str(), "2,aac,44100");
  EXPECT_EQ(row.streamType, STREAM_AUDIO);
  EXPECT_EQ(row.audioParam, 2U);
}

TEST(AudioSettingsTest, EqualSettingsShareAName) {
  AudioHeader other = AAC;
  other.extraData.clear();
  EXPECT_STREQ(audioSettingsOf(AAC).name.c_str(), audioSettingsOf(other).name.c_str());
  other.channels = 1;
  EXPECT_STRNE(audioSettingsOf(AAC).name.c_str(), audioSettingsOf(other).name.c_str());
}

TEST(AudioSettingsTest, NamesAreShort) {
  EXPECT_LE(audioSettingsOf(AAC).name.view().size(), 19U);
}

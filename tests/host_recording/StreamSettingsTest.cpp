#include "host/record/StreamSettings.h"

#include <gtest/gtest.h>

namespace {

class StreamSettingsTest : public testing::Test {
 protected:
  static KTRVideoSettingsRow pictures(const char* size = "640x360") {
    return {"front", 25, 0, "h264", size, ""};
  }
  static StreamSettings sound(const KTDataBlock& header) {
    KTString codec("aac");
    return {KTRAudioSettingsRow("front", 128, codec, 48000), header};
  }
  static KTDataBlock header() {
    const unsigned char bytes[] = {1, 2, 3};
    return {bytes, sizeof bytes};
  }
};

}  // namespace

TEST_F(StreamSettingsTest, OfPicturesComeOutAsTheyWentIn) {
  const StreamSettings settings(pictures());
  EXPECT_FALSE(settings.isSound());
  EXPECT_EQ(0U, settings.soundHeader().size);
  const auto read = StreamSettings::decode(settings.encode());
  ASSERT_TRUE(read);
  EXPECT_TRUE(settings == *read);
  KTRStreamRecordParams params;
  read->applyTo(params);
  EXPECT_EQ(pictures().settings, params.videoSettings.settings);
  EXPECT_EQ("front", params.videoSettings.name.view());
}

TEST_F(StreamSettingsTest, OfSoundHaveTheirHeader) {
  const StreamSettings settings = sound(header());
  EXPECT_TRUE(settings.isSound());
  const auto read = StreamSettings::decode(settings.encode());
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->isSound());
  EXPECT_TRUE(header() == read->soundHeader());
  KTRStreamRecordParams params;
  read->applyTo(params);
  EXPECT_EQ("front", params.audioSettings.name.view());
}

TEST_F(StreamSettingsTest, DifferInEachOfTheirParts) {
  EXPECT_TRUE(StreamSettings(pictures()) == StreamSettings(pictures()));
  EXPECT_FALSE(StreamSettings(pictures()) == StreamSettings(pictures("320x180")));
  EXPECT_FALSE(StreamSettings(pictures()) == sound(header()));
  EXPECT_FALSE(sound(header()) == sound(KTDataBlock()));
}

TEST_F(StreamSettingsTest, NothingIsMadeOfBytesThatAreCutShort) {
  const KTDataBlock whole = sound(header()).encode();
  for (unsigned int size = 0; size < whole.size; ++size) {
    EXPECT_FALSE(StreamSettings::decode(whole.copy(0, size))) << size;
  }
}

TEST_F(StreamSettingsTest, NothingIsMadeOfAnUnknownKind) {
  KTDataBlock bytes = StreamSettings(pictures()).encode();
  bytes.writable()[0] = 7;
  EXPECT_FALSE(StreamSettings::decode(bytes));
}

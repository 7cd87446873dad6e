#include "db/KTRAudioSettingsRow.h"

#include <gtest/gtest.h>

class KTRAudioSettingsRowTest : public testing::Test {
 protected:
  static KTRAudioSettingsRow parsed(const char* settings) {
    return KTRAudioSettingsRow(KTRSettingsRow("mic", STREAM_AUDIO, settings));
  }

  KTString codec{"opus"};
};

TEST_F(KTRAudioSettingsRowTest, BuildsItsText) {
  const KTRAudioSettingsRow row("mic", 8, codec, 48000);
  EXPECT_EQ(row.settings, "8,opus,48000");
  EXPECT_EQ(row.name, "mic");
  EXPECT_EQ(row.streamType, STREAM_AUDIO);
}

TEST_F(KTRAudioSettingsRowTest, ARateOfZeroMeansTheDefault) {
  const KTRAudioSettingsRow row("mic", 8, codec, 0);
  EXPECT_EQ(row.sampleRate, 16000U);
  EXPECT_EQ(row.settings, "8,opus,16000");
}

TEST_F(KTRAudioSettingsRowTest, ReadsItsText) {
  const KTRAudioSettingsRow row = parsed("8,opus,48000");
  EXPECT_EQ(row.audioParam, 8U);
  EXPECT_EQ(row.codec, "opus");
  EXPECT_EQ(row.sampleRate, 48000U);
}

TEST_F(KTRAudioSettingsRowTest, AMissingRateIsTheDefault) {
  const KTRAudioSettingsRow row = parsed("8,speex");
  EXPECT_EQ(row.audioParam, 8U);
  EXPECT_EQ(row.codec, "speex");
  EXPECT_EQ(row.sampleRate, 16000U);
}

TEST_F(KTRAudioSettingsRowTest, AMissingCodecIsTheDefault) {
  const KTRAudioSettingsRow row = parsed("8");
  EXPECT_EQ(row.audioParam, 8U);
  EXPECT_EQ(row.codec, "speex");
  EXPECT_EQ(row.sampleRate, 16000U);
}

TEST_F(KTRAudioSettingsRowTest, AnEmptyTextLeavesTheParameter) {
  KTRAudioSettingsRow row("mic", 8, codec, 48000);
  row.settings = "";
  row.parse();
  EXPECT_EQ(row.audioParam, 8U);
  EXPECT_EQ(row.codec, "speex");
  EXPECT_EQ(row.sampleRate, 16000U);
}

TEST_F(KTRAudioSettingsRowTest, InsertsLikeAPlainRow) {
  const KTRAudioSettingsRow row("mic", 8, codec, 48000);
  EXPECT_EQ(row.getQuery(), " ( name, settings, streamType) VALUES ('mic','8,opus,48000',1 ) ");
}

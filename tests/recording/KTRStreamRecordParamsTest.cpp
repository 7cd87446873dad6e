#include "recording/KTRStreamRecordParams.h"

#include <gtest/gtest.h>

namespace {

KTRStreamRecordParams filled() {
  KTRStreamRecordParams params;
  params.dbName = "cam";
  params.videoSettings = KTRVideoSettingsRow("v", 25, 1, "h264", "640x360", "x");
  params.recordMode = KTRStreamRecordParams::ByEvents;
  params.sessionKind = 11;
  params.sliceSize = 12345;
  params.storageDir = "/data";
  params.preEventKeyFrames = 6;
  params.auxValue1 = 7;
  params.streamId = 8;
  params.auxValue2 = 9;
  return params;
}

TEST(KTRStreamRecordParamsTest, CopyHoldsEveryField) {
  const KTRStreamRecordParams original = filled();
  const KTRStreamRecordParams copy(original);
  EXPECT_EQ(copy.dbName, "cam");
  EXPECT_EQ(copy.videoSettings.settings, "25,1,h264,640x360,x");
  EXPECT_EQ(copy.recordMode, 20);
  EXPECT_EQ(copy.sessionKind, 11);
  EXPECT_EQ(copy.sliceSize, 12345);
  EXPECT_EQ(copy.storageDir, "/data");
  EXPECT_EQ(copy.preEventKeyFrames, 6);
  EXPECT_EQ(copy.auxValue1, 7);
  EXPECT_EQ(copy.streamId, 8);
  EXPECT_EQ(copy.auxValue2, 9);
}

TEST(KTRStreamRecordParamsTest, AssignmentParsesTheSettingsStringsAgain) {
  KTRStreamRecordParams original = filled();
  original.videoSettings.settings = "12,0,hevc,1x1,y";
  original.audioSettings.settings = "8,opus,48000";
  KTRStreamRecordParams assigned;
  assigned = original;
  EXPECT_EQ(assigned.videoSettings.videoParam1, 12);
  EXPECT_EQ(assigned.videoSettings.videoText1, "hevc");
  EXPECT_EQ(assigned.audioSettings.audioParam, 8U);
  EXPECT_EQ(assigned.audioSettings.codec, "opus");
  EXPECT_EQ(assigned.audioSettings.sampleRate, 48000U);
}

TEST(KTRStreamRecordParamsTest, DefaultRecordsContinuously) {
  const KTRStreamRecordParams params;
  EXPECT_EQ(params.recordMode, 10);
  EXPECT_EQ(params.videoSettings.streamType, STREAM_VIDEO);
  EXPECT_EQ(params.audioSettings.streamType, STREAM_AUDIO);
}

}  // namespace

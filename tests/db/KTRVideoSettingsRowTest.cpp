#include "db/KTRVideoSettingsRow.h"

#include <gtest/gtest.h>

class KTRVideoSettingsRowTest : public testing::Test {
 protected:
  static KTRVideoSettingsRow parsed(const char* settings) {
    return KTRVideoSettingsRow(KTRSettingsRow("cam", STREAM_VIDEO, settings));
  }
};

TEST_F(KTRVideoSettingsRowTest, BuildsItsText) {
  const KTRVideoSettingsRow row("cam", 2, 25, "a", "b", "c");
  EXPECT_EQ(row.settings, "2,25,a,b,c");
  EXPECT_EQ(row.name, "cam");
  EXPECT_EQ(row.streamType, STREAM_VIDEO);
}

TEST_F(KTRVideoSettingsRowTest, ReadsItsText) {
  const KTRVideoSettingsRow row = parsed("2,4294967295,a,b,c");
  EXPECT_EQ(row.videoParam1, 2);
  EXPECT_EQ(row.videoParam2, 4294967295U);
  EXPECT_EQ(row.videoText1, "a");
  EXPECT_EQ(row.videoText2, "b");
  EXPECT_EQ(row.videoText3, "c");
}

TEST_F(KTRVideoSettingsRowTest, ARowFromTheTableKeepsNameKindAndText) {
  const KTRVideoSettingsRow row(KTRSettingsRow("cam", STREAM_UNKNOWN, "1,2"));
  EXPECT_EQ(row.name, "cam");
  EXPECT_EQ(row.streamType, STREAM_UNKNOWN);
  EXPECT_EQ(row.settings, "1,2");
}

TEST_F(KTRVideoSettingsRowTest, AMissingPieceLeavesItsField) {
  KTRVideoSettingsRow row("cam", 2, 25, "a", "b", "c");
  row.settings = "7";
  row.parse();
  EXPECT_EQ(row.videoParam1, 7);
  EXPECT_EQ(row.videoParam2, 25U);
  row.settings = "8,9,x,y";
  row.parse();
  EXPECT_EQ(row.videoText2, "y");
  EXPECT_EQ(row.videoText3, "c");
  row.settings = "";
  row.parse();
  EXPECT_EQ(row.videoParam1, 8);
}

TEST_F(KTRVideoSettingsRowTest, TheFirstNumberIsKeptToEightBits) {
  EXPECT_EQ(parsed("258,1").videoParam1, 2);
}

TEST_F(KTRVideoSettingsRowTest, ACommaInATextShiftsTheLaterOnes) {
  const KTRVideoSettingsRow built("cam", 1, 2, "a,b", "c", "d");
  const KTRVideoSettingsRow row = parsed(built.settings.c_str());
  EXPECT_EQ(row.videoText2, "b");
  EXPECT_EQ(row.videoText3, "c");
}

TEST_F(KTRVideoSettingsRowTest, InsertsLikeAPlainRow) {
  const KTRVideoSettingsRow row("cam", 2, 25, "a", "b", "c");
  EXPECT_EQ(row.getQuery(), " ( name, settings, streamType) VALUES ('cam','2,25,a,b,c',0 ) ");
}

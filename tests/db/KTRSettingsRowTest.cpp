#include "db/KTRSettingsRow.h"

#include <gtest/gtest.h>

TEST(KTRSettingsRowTest, WritesItsFields) {
  const KTRSettingsRow row("cam", STREAM_UNKNOWN, "a,b");
  EXPECT_EQ(row.getQuery(), " ( name, settings, streamType) VALUES ('cam','a,b',3 ) ");
}

TEST(KTRSettingsRowTest, CopiesAreEqual) {
  const KTRSettingsRow row("cam", STREAM_AUDIO, "a,b");
  const KTRSettingsRow copy(row);
  EXPECT_EQ(copy.name, "cam");
  EXPECT_EQ(copy.settings, "a,b");
  EXPECT_EQ(copy.streamType, STREAM_AUDIO);
}

TEST(KTRSettingsRowTest, APlainRowKeepsItsText) {
  KTRSettingsRow row("cam", STREAM_VIDEO, "UNKNOWN");
  row.parse();
  row.buildSettingsString();
  EXPECT_EQ(row.settings, "UNKNOWN");
}

TEST(KTRSettingsRowTest, TheKindsHaveTheirDigits) {
  EXPECT_EQ(STREAM_VIDEO, 0U);
  EXPECT_EQ(STREAM_AUDIO, 1U);
  EXPECT_EQ(STREAM_EVENTS, 2U);
  EXPECT_EQ(STREAM_UNKNOWN, 3U);
}

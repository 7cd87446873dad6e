#include "db/KTRRecorderSessionRow.h"

#include <gtest/gtest.h>

#include "tests/support/ManualClock.h"

class KTRRecorderSessionRowTest : public testing::Test {
 protected:
  KTRRecorderSessionRowTest() {
    row.id = 99;
    row.streamID = 1;
    row.settingsID = 2;
    row.start_time = 3;
    row.end_time = 4;
    row.update_time = 5;
    row.dataAvailable = 6;
    row.storage = "/disk/day";
    row.streamType = STREAM_AUDIO;
    row.realFps = 25;
  }

  static KTString expected(long updateTime) {
    return KTString().format(
        " ( streamID, settingsID, start_time,end_time,update_time, "
        "dataAvailable,storage,streamType,realFps) VALUES ( 1,2,3,4,%ld,6,'/disk/day',1,25 ) ",
        updateTime);
  }

  ManualClock clock{1700000000};
  KTRRecorderSessionRow row;
};

TEST_F(KTRRecorderSessionRowTest, WritesItsFieldsAndNowButNoId) {
  EXPECT_EQ(row.getQuery(), expected(1700000000));
}

TEST_F(KTRRecorderSessionRowTest, TheUpdateTimeIsThatOfTheWriting) {
  EXPECT_EQ(row.getQuery(), expected(1700000000));
  clock.advanceSeconds(1);
  EXPECT_EQ(row.getQuery(), expected(1700000001));
  EXPECT_EQ(row.update_time, 5U);
}

TEST_F(KTRRecorderSessionRowTest, IsEmptyAndOfNoKindAtFirst) {
  const KTRRecorderSessionRow empty;
  EXPECT_EQ(empty.id, 0U);
  EXPECT_EQ(empty.streamType, STREAM_UNKNOWN);
  EXPECT_EQ(empty.getQuery(),
            " ( streamID, settingsID, start_time,end_time,update_time, "
            "dataAvailable,storage,streamType,realFps) VALUES ( 0,0,0,0,1700000000,0,'',3,0 ) ");
}

TEST_F(KTRRecorderSessionRowTest, CopiesAreEqual) {
  const KTRRecorderSessionRow copy(row);
  EXPECT_EQ(copy.id, 99U);
  EXPECT_EQ(copy.getQuery(), row.getQuery());
}

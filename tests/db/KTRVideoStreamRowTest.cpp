#include "db/KTRVideoStreamRow.h"

#include <gtest/gtest.h>

TEST(KTRVideoStreamRowTest, WritesItsFields) {
  KTRVideoStreamRow row;
  row.setValues(1, 2, 3, 7, 5);
  EXPECT_EQ(row.getQuery(), " (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ( 1,2,3,7,5 ) ");
}

TEST(KTRVideoStreamRowTest, SetsEachField) {
  KTRVideoStreamRow row;
  row.setValues(1, 2, 3, 4, 5);
  EXPECT_EQ(row.id, 1);
  EXPECT_EQ(row.offset, 2);
  EXPECT_EQ(row.time, 3);
  EXPECT_EQ(row.fileIndex, 4);
  EXPECT_EQ(row.delayUsec, 5U);
}

TEST(KTRVideoStreamRowTest, WritesTheGreatestValuesUnsigned) {
  KTRVideoStreamRow row;
  row.setValues(-1, -1, static_cast<long>(4294967295U), 255, 4294967295U);
  EXPECT_EQ(row.getQuery(),
            " (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ( "
            "4294967295,4294967295,4294967295,255,4294967295 ) ");
}

TEST(KTRVideoStreamRowTest, IsZeroAtFirst) {
  EXPECT_EQ(KTRVideoStreamRow().getQuery(),
            " (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ( 0,0,0,0,0 ) ");
}

#include "host/ByteText.h"

#include <gtest/gtest.h>

TEST(ByteTextTest, ChoosesTheUnit) {
  EXPECT_EQ("0 B", ByteText::format(0));
  EXPECT_EQ("999 B", ByteText::format(999));
  EXPECT_EQ("1.0 KiB", ByteText::format(1024));
  EXPECT_EQ("12.3 MiB", ByteText::format(12897485));
  EXPECT_EQ("16.0 EiB", ByteText::format(UINT64_MAX));
}

TEST(ByteTextTest, IsShortForTables) {
  EXPECT_EQ("0B", ByteText::formatShort(0));
  EXPECT_EQ("12.3M", ByteText::formatShort(12897485));
  for (uint64_t bytes = 1; bytes < UINT64_MAX / 3; bytes *= 3) {
    EXPECT_LE(ByteText::formatShort(bytes).size(), 6U) << bytes;
    EXPECT_LE(ByteText::formatShort(bytes * 1000).size(), 6U) << bytes;
  }
}

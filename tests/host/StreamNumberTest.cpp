#include "host/input/StreamNumber.h"

#include "tests/host/UsageErrors.h"

TEST(StreamNumberTest, TakesZeroTo255) {
  EXPECT_EQ(0, StreamNumber::parse("0"));
  EXPECT_EQ(7, StreamNumber::parse("007"));
  EXPECT_EQ(255, StreamNumber::parse("255"));
}

TEST(StreamNumberTest, RefusesEverythingElse) {
  for (const char* text : {"", "256", "-1", "+1", " 1", "1 ", "1x", "0x1", "1.0",
                           "18446744073709551617", "\xd9\xa1"}) {
    EXPECT_THAT(usageErrorOf([&] { return StreamNumber::parse(text); }),
                testing::HasSubstr("a number from 0 to 255"))
        << text;
  }
}

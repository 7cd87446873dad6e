#include "host/input/ByteCount.h"

#include "tests/host/UsageErrors.h"

TEST(ByteCountTest, TakesBytesAndUnits) {
  EXPECT_EQ(0U, ByteCount::parse("0"));
  EXPECT_EQ(1048576U, ByteCount::parse("1048576"));
  EXPECT_EQ(12U, ByteCount::parse("12B"));
  EXPECT_EQ(3000U, ByteCount::parse("3kB"));
  EXPECT_EQ(3072U, ByteCount::parse("3KiB"));
  EXPECT_EQ(500000000000U, ByteCount::parse("500GB"));
  EXPECT_EQ(2199023255552U, ByteCount::parse("2TiB"));
  EXPECT_EQ(2199023255552U, ByteCount::parse("2t"));
  EXPECT_EQ(5000000000000000U, ByteCount::parse("5pb"));
}

TEST(ByteCountTest, EndsAtEightExbibytes) {
  EXPECT_EQ(9223372036854775807U, ByteCount::parse("9223372036854775807"));
  EXPECT_EQ(9222246136947933184U, ByteCount::parse("8191PiB"));
  for (const char* text : {"9223372036854775808", "8192PiB", "99999999999999999999"}) {
    usageErrorOf([&] { return ByteCount::parse(text); });
  }
}

TEST(ByteCountTest, RefusesEverythingElse) {
  for (const char* text : {"", "GB", "-5", "+5", "1.5GB", "5 GB", "5EB", "5GiBs", "5Gi", "5%",
                           "5BB", "0x10", "1e9", "5K5"}) {
    EXPECT_THAT(usageErrorOf([&] { return ByteCount::parse(text); }),
                testing::HasSubstr("1048576, 500GB or 2TiB"))
        << text;
  }
}

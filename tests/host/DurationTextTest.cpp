#include "host/input/DurationText.h"

#include "tests/host/UsageErrors.h"

TEST(DurationTextTest, TakesSecondsAndUnits) {
  EXPECT_EQ(90, DurationText::parse("90"));
  EXPECT_EQ(90, DurationText::parse("90s"));
  EXPECT_EQ(300, DurationText::parse("5m"));
  EXPECT_EQ(7200, DurationText::parse("2h"));
  EXPECT_EQ(5400, DurationText::parse("1h30m"));
  EXPECT_EQ(86400 + 3600 + 60 + 1, DurationText::parse("1d1h1m1s"));
}

TEST(DurationTextTest, EndsAt366Days) {
  EXPECT_EQ(31622400, DurationText::parse("366d"));
  EXPECT_EQ(31622400, DurationText::parse("31622400"));
  for (const char* text : {"367d", "366d1s", "31622401", "8785h", "99999999999999999999s"}) {
    usageErrorOf([&] { return DurationText::parse(text); });
  }
}

TEST(DurationTextTest, RefusesEverythingElse) {
  for (const char* text : {"", "0", "0s", "-5", "+5", "5x", "m", "5 m", "30m1h", "1h1h", "1.5h",
                           "5m30", "h5", "1e3", "5M"}) {
    EXPECT_THAT(usageErrorOf([&] { return DurationText::parse(text); }),
                testing::HasSubstr("90s, 5m, 2h or 1h30m"))
        << text;
  }
}

TEST(DurationTextTest, Formats) {
  EXPECT_EQ("0s", DurationText::format(0));
  EXPECT_EQ("59s", DurationText::format(59));
  EXPECT_EQ("1m00s", DurationText::format(60));
  EXPECT_EQ("1h05m30s", DurationText::format(3930));
  EXPECT_EQ("2d03h00m00s", DurationText::format(2 * 86400 + 3 * 3600));
}

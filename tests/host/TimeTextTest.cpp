#include "host/input/TimeText.h"

#include "tests/host/UsageErrors.h"
#include "tests/host/UtcZone.h"

namespace {

constexpr long NOW = 1767348000;  // 2026-01-02 10:00:00 UTC

/** Cases run in a time zone with summer time. */
class TimeTextTest : public UtcZone {
 protected:
  TimeTextTest() { use("CET-1CEST,M3.5.0,M10.5.0/3"); }
};

}  // namespace

TEST_F(TimeTextTest, TakesEpochSeconds) {
  EXPECT_EQ(0, TimeText::parse("0", NOW));
  EXPECT_EQ(1700000000, TimeText::parse("1700000000", NOW));
  EXPECT_EQ(2147483647, TimeText::parse("2147483647", NOW));
}

TEST_F(TimeTextTest, TakesDateAndTimeInTheLocalZone) {
  EXPECT_EQ(NOW, TimeText::parse("2026-01-02 11:00:00", NOW));
  EXPECT_EQ(NOW, TimeText::parse("2026-01-02T11:00:00", NOW));
  EXPECT_EQ(NOW, TimeText::parse("2026-01-02 11:00", NOW));
}

TEST_F(TimeTextTest, KnowsSummerTime) {
  EXPECT_EQ(1782986400, TimeText::parse("2026-07-02 12:00:00", NOW));
}

TEST_F(TimeTextTest, TakesUtcWithZ) {
  EXPECT_EQ(NOW, TimeText::parse("2026-01-02T10:00:00Z", NOW));
  EXPECT_EQ(NOW, TimeText::parse("2026-01-02 10:00:00Z", NOW));
}

TEST_F(TimeTextTest, TakesATimeOfToday) {
  EXPECT_EQ(NOW - 1800, TimeText::parse("10:30", NOW));
  EXPECT_EQ(NOW + 5, TimeText::parse("11:00:05", NOW));
}

TEST_F(TimeTextTest, TodayIsTheLocalDay) {
  const long halfPastMidnight = 1767310200;  // 2026-01-01 23:30 UTC
  EXPECT_EQ(halfPastMidnight, TimeText::parse("00:30", halfPastMidnight));
}

TEST_F(TimeTextTest, TakesNowAndBefore) {
  EXPECT_EQ(NOW, TimeText::parse("now", NOW));
  EXPECT_EQ(NOW - 90, TimeText::parse("-90s", NOW));
  EXPECT_EQ(NOW - 300, TimeText::parse("-5m", NOW));
  EXPECT_EQ(NOW - 7200, TimeText::parse("-2h", NOW));
}

TEST_F(TimeTextTest, KnowsTheCalendar) {
  EXPECT_EQ(1709164800, TimeText::parse("2024-02-29 00:00:00Z", NOW));
  for (const char* text : {"2023-02-29 00:00:00", "2024-04-31 00:00:00", "2024-13-01 00:00:00",
                           "2024-00-10 00:00:00", "2024-01-00 00:00:00", "1900-02-29 00:00:00"}) {
    usageErrorOf([&] { return TimeText::parse(text, NOW); });
  }
}

TEST_F(TimeTextTest, RefusesEverythingElse) {
  for (const char* text : {"",
                           "yesterday",
                           "2026-01-02",
                           "2026-1-2 10:00:00",
                           "2026-01-02 24:00:00",
                           "2026-01-02 10:60:00",
                           "2026-01-02 10:00:60",
                           "2026-01-02  10:00:00",
                           "25:00",
                           "10:61",
                           "10:00:61",
                           "1:00",
                           "10:00Z",
                           "2147483648",
                           "99999999999999999999",
                           "2038-01-19 03:14:08Z",
                           "1969-12-31 23:59:59Z",
                           "-",
                           "+5m",
                           "now ",
                           "2026-01-02 10:00:00'; DROP"}) {
    EXPECT_THAT(usageErrorOf([&] { return TimeText::parse(text, NOW); }),
                testing::AnyOf(testing::HasSubstr("is not a time: give \"YYYY-MM-DD"),
                               testing::HasSubstr("is not a duration")))
        << text;
  }
}

TEST_F(TimeTextTest, RefusesTimesBeforeTheEpoch) {
  usageErrorOf([] { return TimeText::parse("-2h", 10); });
}

TEST_F(TimeTextTest, FormatsLocalTime) {
  EXPECT_EQ("2026-01-02 11:00:00", TimeText::format(NOW));
  EXPECT_EQ("11:00", TimeText::format(NOW, "%H:%M"));
  EXPECT_EQ(NOW, TimeText::parse(TimeText::format(NOW), 0));
}

#include "host/view/TimeAxis.h"

#include "tests/host/UtcZone.h"

namespace {

constexpr long TEN = 1767348000;  // 2026-01-02 10:00:00 UTC

class TimeAxisTest : public UtcZone {};

}  // namespace

TEST_F(TimeAxisTest, PutsRoundTimesWhereTheyAre) {
  const TimeAxis axis(TEN, TEN + 3600, 60);
  EXPECT_EQ("10:00     10:10     10:20     10:30     10:40     10:50", axis.labels());
  EXPECT_EQ("|---------|---------|---------|---------|---------|---------", axis.marks());
}

TEST_F(TimeAxisTest, BeginsBetweenRoundTimes) {
  const TimeAxis axis(TEN + 300, TEN + 3900, 60);
  EXPECT_EQ("     10:10     10:20     10:30     10:40     10:50     11:00", axis.labels());
  EXPECT_EQ("-----|---------|---------|---------|---------|---------|----", axis.marks());
}

TEST_F(TimeAxisTest, ShowsSecondsOfAShortTime) {
  const TimeAxis axis(TEN, TEN + 30, 60);
  EXPECT_EQ("10:00:00  10:00:05  10:00:10  10:00:15  10:00:20  10:00:25", axis.labels());
}

TEST_F(TimeAxisTest, ShowsTheDayWhenThereAreSeveral) {
  const TimeAxis axis(TEN, TEN + 86400, 60);
  EXPECT_EQ("     01-02 12:00    01-02 18:00    01-03 00:00", axis.labels());
}

TEST_F(TimeAxisTest, ShowsDaysOfALongTime) {
  const TimeAxis axis(TEN - 36000, TEN - 36000 + 6 * 86400, 60);
  EXPECT_EQ("01-02     01-03     01-04     01-05     01-06     01-07", axis.labels());
}

TEST_F(TimeAxisTest, RoundsInLocalTime) {
  use("IST-5:30");
  const TimeAxis axis(TEN, TEN + 6 * 3600, 60);  // begins at 15:30
  EXPECT_EQ("     16:00     17:00     18:00     19:00     20:00     21:00", axis.labels());
}

TEST_F(TimeAxisTest, FitsTheWidestTimesAndTheSmallest) {
  for (const long seconds : {0L, 1L, 7L, 86399L, 400L * 86400, 2147483647L}) {
    for (const unsigned int columns : {1U, 20U, 68U, 500U}) {
      const TimeAxis axis(0, seconds, columns);
      EXPECT_LE(axis.labels().size(), columns);
      EXPECT_EQ(columns, axis.marks().size());
    }
  }
}

#include "runtime/KTTimeValue.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <type_traits>

#include "tests/support/ManualClock.h"

namespace {

class KTTimeValueTest : public testing::Test {
 protected:
  // Local time at a fixed distance from UTC, whatever the machine's own zone is.
  static void useZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  static void expectEqual(const KTTimeValue& value, long sec, long usec) {
    EXPECT_EQ(value.tv_sec, sec);
    EXPECT_EQ(value.tv_usec, usec);
  }
};

TEST_F(KTTimeValueTest, IsATimevalAndNothingMore) {
  static_assert(std::is_base_of_v<timeval, KTTimeValue>);
  static_assert(sizeof(KTTimeValue) == sizeof(timeval));
  static_assert(!std::is_polymorphic_v<KTTimeValue>);
  expectEqual(KTTimeValue(12, 345678), 12, 345678);
}

TEST_F(KTTimeValueTest, CopiesBothParts) {
  const KTTimeValue one(1, 2);
  KTTimeValue two(one);
  expectEqual(two, 1, 2);
  two = KTTimeValue(3, 4);
  expectEqual(two, 3, 4);
  expectEqual(one, 1, 2);
}

TEST_F(KTTimeValueTest, NowIsWhatTheClockTells) {
  ManualClock clock(1700000000);
  clock.advance(std::chrono::microseconds(2500001));
  expectEqual(KTTimeValue::now(), 1700000002, 500001);
}

TEST_F(KTTimeValueTest, SubtractsWithoutABorrow) {
  expectEqual(KTTimeValue(10, 700000) - KTTimeValue(4, 200000), 6, 500000);
}

TEST_F(KTTimeValueTest, SubtractsWithABorrow) {
  expectEqual(KTTimeValue(10, 200000) - KTTimeValue(4, 700000), 5, 500000);
}

TEST_F(KTTimeValueTest, NegativeDifferencesStayNormalised) {
  expectEqual(KTTimeValue(4, 700000) - KTTimeValue(10, 200000), -6, 500000);
  expectEqual(KTTimeValue(0, 0) - KTTimeValue(0, 1), -1, 999999);
}

TEST_F(KTTimeValueTest, ComparesBothParts) {
  EXPECT_TRUE(KTTimeValue(1, 2) == KTTimeValue(1, 2));
  EXPECT_FALSE(KTTimeValue(1, 2) == KTTimeValue(1, 3));
  EXPECT_FALSE(KTTimeValue(1, 2) == KTTimeValue(2, 2));
}

TEST_F(KTTimeValueTest, UnlimitedIsLikeNoOtherTime) {
  EXPECT_TRUE(KTTimeValue::Unlimited == KTTimeValue(KTTimeValue::Unlimited));
  EXPECT_FALSE(KTTimeValue::Unlimited == KTTimeValue(15, 0));
  EXPECT_FALSE(KTTimeValue::Unlimited == KTTimeValue(0, 0));
}

TEST_F(KTTimeValueTest, FormatsLocalTime) {
  useZone("UTC0");
  EXPECT_STREQ(KTTimeValue(1700000000, 0).asString("%F %T").c_str(), "2023-11-14 22:13:20");
  useZone("ABC-3");
  EXPECT_STREQ(KTTimeValue(1700000000, 0).asString("%F %T").c_str(), "2023-11-15 01:13:20");
}

TEST_F(KTTimeValueTest, FormatsEveryLengthOfText) {
  EXPECT_TRUE(KTTimeValue(0, 0).asString("").empty());
  const std::string longText(1000, 'x');
  EXPECT_EQ(KTTimeValue(0, 0).asString(KTString(longText)).view(), longText);
}

}  // namespace

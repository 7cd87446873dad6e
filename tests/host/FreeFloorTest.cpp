#include "host/retain/FreeFloor.h"

#include "tests/host/UsageErrors.h"

namespace {
constexpr uint64_t GIB = uint64_t{1} << 30;
}  // namespace

TEST(FreeFloorTest, IsOneGibibyteOrFivePercentByDefault) {
  EXPECT_EQ(GIB, FreeFloor().bytesOf(100 * GIB));
  EXPECT_EQ(500000U, FreeFloor().bytesOf(10000000));
}

TEST(FreeFloorTest, TakesBytes) {
  EXPECT_EQ(20 * GIB, FreeFloor::parse("20GiB").bytesOf(100 * GIB));
  EXPECT_EQ(0U, FreeFloor::parse("0").bytesOf(100 * GIB));
}

TEST(FreeFloorTest, TakesAShare) {
  EXPECT_EQ(1000U, FreeFloor::parse("10%").bytesOf(10000));
  EXPECT_EQ(0U, FreeFloor::parse("0%").bytesOf(10000));
  EXPECT_EQ(9000U, FreeFloor::parse("90%").bytesOf(10000));
}

TEST(FreeFloorTest, RefusesEverythingElse) {
  for (const char* text : {"%", "91%", "100%", "-5%", "5%%", "1.5%", "5 %"}) {
    EXPECT_THAT(usageErrorOf([&] { return FreeFloor::parse(text); }),
                testing::HasSubstr("give 0% to 90%"))
        << text;
  }
  EXPECT_THAT(usageErrorOf([] { return FreeFloor::parse("much"); }), testing::HasSubstr("500GB"));
}

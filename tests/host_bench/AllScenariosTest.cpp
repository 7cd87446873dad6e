#include "host/bench/AllScenarios.h"

#include <set>

#include "tests/host_bench/BenchFixture.h"

class AllScenariosTest : public BenchFixture {};

TEST_F(AllScenariosTest, EachHasANameOfItsOwnAndSaysWhatItDoes) {
  std::set<std::string> names;
  for (const auto& scenario : makeAllScenarios(place())) {
    EXPECT_TRUE(names.insert(scenario->name()).second) << scenario->name();
    EXPECT_FALSE(scenario->description().empty()) << scenario->name();
    EXPECT_FALSE(scenario->unit().empty()) << scenario->name();
    EXPECT_GE(scenario->usualPairs(), 5U) << scenario->name();
    EXPECT_EQ(1U, scenario->usualPairs() % 2) << scenario->name();
  }
  EXPECT_THAT(names, testing::IsSupersetOf({"append", "read", "play", "export", "together"}));
}

#include "host/bench/AllScenarios.h"

#include <set>

#include "tests/host_bench/BenchFixture.h"

class AllScenariosTest : public BenchFixture {};

TEST_F(AllScenariosTest, EachHasANameOfItsOwnAndSaysWhatItDoes) {
  std::set<std::string> names;
  std::vector<std::string> inOrder;
  for (const auto& scenario : makeAllScenarios(place())) {
    inOrder.push_back(scenario->name());
    EXPECT_TRUE(names.insert(scenario->name()).second) << scenario->name();
    EXPECT_FALSE(scenario->description().empty()) << scenario->name();
    EXPECT_FALSE(scenario->unit().empty()) << scenario->name();
  }
  EXPECT_EQ(allScenarioNames(), inOrder);
  EXPECT_THAT(names, testing::UnorderedElementsAre("append", "ingest", "read", "play", "export",
                                                   "together", "record-1", "record-32",
                                                   "record-128", "record-500", "load-10k",
                                                   "load-10m", "session", "event", "retention"));
}

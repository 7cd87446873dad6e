#include "host/bench/scenarios/LoadScenario.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr std::uint64_t LOADS = 10;

class LoadScenarioTest : public BenchFixture {};

}  // namespace

TEST_F(LoadScenarioTest, EveryLoadEndsAtTheKeyFrameOfItsSecond) {
  for (const LoadScenario::Size& size : {LoadScenario::FEW_ROWS, LoadScenario::MANY_ROWS}) {
    LoadScenario scenario(place(), size);
    const Measurement result = run(scenario);
    EXPECT_EQ(LOADS, result.operations) << scenario.name();
    EXPECT_EQ(LOADS, result.latencies.count()) << scenario.name();
  }
}

TEST_F(LoadScenarioTest, RivalsFindAsManyMoments) {
  LoadScenario scenario(place(), {"rivals", 1, 1, 1});
  const auto rivals = scenario.rivals();
  ASSERT_EQ(2U, rivals.size());
  for (const auto& rival : rivals) {
    const Measurement result = rival->run();
    EXPECT_THAT(result.flaws, testing::IsEmpty()) << rival->name();
    EXPECT_EQ(LOADS, result.operations) << rival->name();
  }
}

TEST_F(LoadScenarioTest, FootageThatIsGoneIsAFlaw) {
  LoadScenario scenario(place(), {"gone", 2, 2, 50});
  (void)run(scenario);
  std::filesystem::remove_all(place().storageOf("loadgone"));
  EXPECT_THAT(scenario.run().flaws, testing::ElementsAre("loads: 0 instead of 10"));
}

#include "host/bench/scenarios/EventScenario.h"

#include "tests/host_bench/BenchFixture.h"

class EventScenarioTest : public BenchFixture {};

TEST_F(EventScenarioTest, EveryEventHasARowAndATime) {
  EventScenario scenario(place());
  for (int run = 0; run < 2; ++run) {
    const Measurement result = this->run(scenario);
    EXPECT_EQ(100U, result.operations);
    EXPECT_EQ(100U, result.latencies.count());
  }
}

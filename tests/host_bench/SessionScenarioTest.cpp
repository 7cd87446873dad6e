#include "host/bench/scenarios/SessionScenario.h"

#include "tests/host_bench/BenchFixture.h"

class SessionScenarioTest : public BenchFixture {};

TEST_F(SessionScenarioTest, EverySessionIsOpenedAndEnded) {
  SessionScenario scenario(place());
  for (int run = 0; run < 2; ++run) {
    const Measurement result = this->run(scenario);
    EXPECT_EQ(5U, result.operations);
    EXPECT_EQ(5U, result.latencies.count());
    EXPECT_EQ(4U, result.figures.size());
  }
}

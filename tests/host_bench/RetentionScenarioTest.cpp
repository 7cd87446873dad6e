#include "host/bench/scenarios/RetentionScenario.h"

#include "tests/host_bench/BenchFixture.h"

class RetentionScenarioTest : public BenchFixture {};

TEST_F(RetentionScenarioTest, ADayIsDeletedWhileStreamsAreRecorded) {
  RetentionScenario scenario(place());
  for (int run = 0; run < 2; ++run) {
    const Measurement result = this->run(scenario);
    EXPECT_EQ(6U, result.operations);  // two streams of three slices
    EXPECT_GT(result.latencies.count(), 0U);
  }
}

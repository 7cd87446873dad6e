#include "host/bench/scenarios/AppendScenario.h"

#include "host/bench/rivals/WriteLoop.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr unsigned int SECONDS = 25;

class AppendScenarioTest : public BenchFixture {
 protected:
  AppendScenario scenario_{place(), std::make_shared<BenchMovie>(place(), SECONDS), SECONDS};
};

}  // namespace

TEST_F(AppendScenarioTest, WritesEveryFrame) {
  const Measurement result = run(scenario_);
  EXPECT_EQ(625U, result.operations);
  EXPECT_EQ(place().clip().bytes(625) + 625 * 8, result.bytes);
}

TEST_F(AppendScenarioTest, RivalsWriteTheSame) {
  expectSoundRivals(scenario_, WriteLoop::directWorks(place().directory()) ? 7 : 4);
}

#include "host/bench/scenarios/IngestScenario.h"

#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr unsigned int SECONDS = 25;

class IngestScenarioTest : public BenchFixture {
 protected:
  IngestScenario scenario_{place(), std::make_shared<BenchMovie>(place(), SECONDS)};
};

}  // namespace

TEST_F(IngestScenarioTest, StoresEveryPictureOfTheMovie) {
  for (int run = 0; run < 2; ++run) {
    const Measurement result = this->run(scenario_);
    EXPECT_EQ(625U, result.operations);
    EXPECT_EQ(place().clip().bytes(625), result.bytes);
  }
}

TEST_F(IngestScenarioTest, RivalsWriteTheSameMovie) {
  expectSoundRivals(scenario_, 2);
}

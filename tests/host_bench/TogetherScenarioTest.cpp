#include "host/bench/scenarios/TogetherScenario.h"

#include "tests/host_bench/BenchFixture.h"

class TogetherScenarioTest : public BenchFixture {};

TEST_F(TogetherScenarioTest, PlaysEveryFrameOfEveryStream) {
  constexpr std::uint64_t FRAMES = 8 * 25 * BenchClip::FRAME_RATE;
  TogetherScenario scenario(place(), 25, 20);
  for (int run = 0; run < 2; ++run) {
    const Measurement result = this->run(scenario);
    EXPECT_EQ(FRAMES, result.operations);
    EXPECT_EQ(FRAMES, result.latencies.count());
    EXPECT_EQ(8 * (place().clip().bytes(25 * 25) + 25 * 25 * 8), result.bytes);
  }
}

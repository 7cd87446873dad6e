#include "host/bench/scenarios/PlayScenario.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

using testing::ElementsAre;
using testing::MatchesRegex;

class PlayScenarioTest : public BenchFixture {};

TEST_F(PlayScenarioTest, PlaysEveryFrameFromWhereALoadLeads) {
  PlayScenario scenario(std::make_shared<BenchRecording>(place(), "played", 25));
  const Measurement result = run(scenario);
  EXPECT_EQ(result.operations, result.latencies.count());
  EXPECT_GE(result.operations, 19 * BenchClip::FRAME_RATE);
  EXPECT_LE(result.operations, 25 * BenchClip::FRAME_RATE);
  const auto rivals = scenario.rivals();
  ASSERT_EQ(1U, rivals.size());
  EXPECT_GE(rivals[0]->run().bytes, result.bytes);
}

TEST_F(PlayScenarioTest, RecordingThatIsCutShortIsAFlaw) {
  const auto recording = std::make_shared<BenchRecording>(place(), "cut", 25);
  PlayScenario scenario(recording);
  (void)run(scenario);
  const std::string& slice = recording->files().front();
  std::filesystem::resize_file(slice, std::filesystem::file_size(slice) - 10);
  EXPECT_THAT(scenario.run().flaws, ElementsAre(MatchesRegex("frames: .* instead of .*")));
}

TEST_F(PlayScenarioTest, RecordingThatIsGoneIsAFlaw) {
  const auto recording = std::make_shared<BenchRecording>(place(), "gone", 25);
  PlayScenario scenario(recording);
  (void)run(scenario);
  std::filesystem::remove(recording->files().front());
  EXPECT_THAT(scenario.run().flaws, ElementsAre("the recording cannot be loaded"));
}

#include "host/bench/scenarios/ReadScenario.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

using testing::HasSubstr;

namespace {

class ReadScenarioTest : public BenchFixture {
 protected:
  static constexpr unsigned int SECONDS = 25;

  ReadScenario scenario_{place(), SECONDS};
};

}  // namespace

TEST_F(ReadScenarioTest, ReadsEveryFrame) {
  const Measurement result = run(scenario_);
  EXPECT_EQ(625U, result.operations);
  EXPECT_EQ(place().clip().bytes(625) + 625 * 8, result.bytes);
}

TEST_F(ReadScenarioTest, RivalReadsTheSameBytes) {
  const Measurement result = run(scenario_);
  const auto rivals = scenario_.rivals();
  ASSERT_EQ(1U, rivals.size());
  EXPECT_EQ(result.bytes, rivals[0]->run().bytes);
}

TEST_F(ReadScenarioTest, SliceThatIsCutShortIsAFlaw) {
  (void)run(scenario_);
  const std::string slice = files(place().directory() + "/read").front();
  std::filesystem::resize_file(slice, std::filesystem::file_size(slice) - 10);
  const Measurement result = scenario_.run();
  ASSERT_EQ(2U, result.flaws.size());
  EXPECT_EQ("frames: 624 instead of 625", result.flaws[0]);
  EXPECT_THAT(result.flaws[1], HasSubstr("bytes: "));
}

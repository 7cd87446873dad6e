#include "host/bench/scenarios/ExportScenario.h"

#include <filesystem>

#include "tests/host_bench/BenchFixture.h"

namespace {

class ExportScenarioTest : public BenchFixture {
 protected:
  static constexpr unsigned int SECONDS = 25;

  ExportScenarioTest()
      : recording_(
            std::make_shared<BenchRecording>(place(), "export" + std::to_string(++made_), SECONDS)),
        scenario_(place(), recording_, std::make_shared<BenchMovie>(place(), SECONDS)) {}

  static inline int made_ = 0;
  const std::shared_ptr<BenchRecording> recording_;
  ExportScenario scenario_;
};

}  // namespace

TEST_F(ExportScenarioTest, ExportsEveryFrame) {
  EXPECT_EQ(625U, run(scenario_).operations);
  expectSoundRivals(scenario_, 1);
}

TEST_F(ExportScenarioTest, RecordingThatIsCutShortIsAFlaw) {
  (void)run(scenario_);
  const std::string& slice = recording_->files().front();
  std::filesystem::resize_file(slice, std::filesystem::file_size(slice) / 2);
  EXPECT_EQ(2U, scenario_.run().flaws.size());
}

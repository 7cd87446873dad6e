#include "host/bench/scenarios/RecordScenario.h"

#include <filesystem>
#include <thread>

#include "runtime/KTLogger.h"
#include "tests/host_bench/BenchFixture.h"
#include "tests/support/LogCapture.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::Pair;

namespace {

class RecordScenarioTest : public BenchFixture {
 protected:
  static bool anySliceIsLeft() {
    for (const auto& entry : fs::recursive_directory_iterator(place().directory())) {
      if (entry.path().extension() == ".dat") return true;
    }
    return false;
  }

  LogCapture log_;
};

}  // namespace

TEST_F(RecordScenarioTest, StoresWhatTheStreamsBring) {
  RecordScenario scenario(place(), 32);
  EXPECT_EQ("record-32", scenario.name());
  const Measurement result = run(scenario);
  EXPECT_GT(result.operations, 0U);
  EXPECT_GT(result.bytes, result.operations);
  EXPECT_GE(result.latencies.count(), result.operations);
  EXPECT_THAT(result.figures, Contains(Pair("longest queue", testing::Ge(1))));
  EXPECT_THAT(
      result.figures,
      Contains(Pair("% of a core per stream, the library's threads and commit()", testing::Gt(0))));
  EXPECT_FALSE(anySliceIsLeft());
}

TEST_F(RecordScenarioTest, ShortFormSaysNothingAboutTime) {
  std::jthread slow([](const std::stop_token& ended) {
    while (!ended.stop_requested()) {
      KTLogger::instance()->log(KTLogger::Warning,
                                "TOO SLOW !!! One turn have took : %d sec %d usec", 4, 0);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  });
  RecordScenario scenario(place(), 1);
  EXPECT_THAT(scenario.run().flaws, testing::IsEmpty());
}

TEST_F(RecordScenarioTest, ThirtyTwoStreamsHaveRivalsThatWriteAsMuch) {
  RecordScenario scenario(place(), 32);
  expectSoundRivals(scenario, 1);
  EXPECT_THAT(RecordScenario(place(), 500).rivals(), testing::IsEmpty());
}

TEST_F(RecordScenarioTest, ASecondRunHasADatabaseOfItsOwn) {
  RecordScenario scenario(place(), 2);
  (void)run(scenario);
  (void)run(scenario);
}

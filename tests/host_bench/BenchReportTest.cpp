#include "host/view/BenchReport.h"

#include "tests/host_bench/BenchFixture.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

Measurement runOf(double seconds, double cpuSeconds) {
  Measurement run;
  run.seconds = seconds;
  run.cpuSeconds = cpuSeconds;
  run.kernelCpuSeconds = 0.5;
  run.bytes = 2'000'000'000;
  run.operations = 100'000;
  run.residentBytes = 3 << 20;
  run.figures = {{"rows", 7}};
  run.latencies.add(std::chrono::microseconds(150));
  run.latencies.add(std::chrono::milliseconds(2));
  return run;
}

ScenarioResult resultOf() {
  ScenarioResult result{"append", "an hour", "frame", {}, {}};
  result.runs = {runOf(1, 1.5), runOf(2, 0.5), runOf(4, 1)};
  result.comparisons = {{"a loop", result.runs, {runOf(2, 0.5), runOf(2, 0.5), runOf(1, 0.5)}}};
  return result;
}

class BenchReportTest : public BenchFixture {
 protected:
  std::string report(const ScenarioResult& result, bool asJson) {
    std::ostringstream out;
    BenchReport report(out, asJson);
    report.begin(BenchEnvironment::read(place()));
    report.add(result);
    report.finish();
    return out.str();
  }
};

}  // namespace

TEST_F(BenchReportTest, EnvironmentComesFirst) {
  const std::string text = report(resultOf(), false);
  EXPECT_EQ(0U, text.find("build "));
  EXPECT_LT(text.find("\nkernel "), text.find("\nappend "));
  EXPECT_THAT(text, HasSubstr("\nsettings     innodb_buffer_pool_size"));
}

TEST_F(BenchReportTest, AScenarioIsALine) {
  EXPECT_THAT(report(resultOf(), false),
              HasSubstr("append           1000.0 MB/s   0.750 CPU s/GB    50000.0 frames/s"
                        "  p50 150.0 us  p99 2.00 ms  max 2.00 ms  3.0 MiB\n"
                        "  an hour; run of 2.00 s, 1.000 CPU s and 0.500 of the kernel's threads\n"
                        "  rows 7\n"));
}

TEST_F(BenchReportTest, RatiosArePairByPairWithTheirMedian) {
  EXPECT_THAT(
      report(resultOf(), false),
      HasSubstr("\n  against a loop:   1000.0 MB/s   0.500 CPU s/GB  p50 150.0 us  p99 2.00 "
                "ms  max 2.00 ms\n"
                "    cpu 1.50 (2.00 1.00 1.50)  time 1.00 (0.50 1.00 4.00)  p99 1.00 (1.00 "
                "1.00 1.00)\n"));
}

TEST_F(BenchReportTest, RatiosAreOfThePriceOfAByteWithTheServersShare) {
  ScenarioResult result = resultOf();
  for (Measurement& run : result.comparisons[0].theirs) run.bytes /= 2;
  for (Measurement& run : result.comparisons[0].ours) run.serverCpuSeconds = run.allCpuSeconds();
  EXPECT_THAT(report(result, false),
              HasSubstr("    cpu 1.50 (2.00 1.00 1.50)  time 0.50 (0.25 0.50 2.00)"));
}

TEST_F(BenchReportTest, WhereNoBytesAreCountedAnOperationIsCompared) {
  ScenarioResult result = resultOf();
  for (Measurement& run : result.comparisons[0].ours) run.bytes = 0;
  for (Measurement& run : result.comparisons[0].theirs) {
    run.bytes = 0;
    run.operations /= 2;
    run.latencies = {};
  }
  EXPECT_THAT(report(result, false), HasSubstr("\n  against a loop:    25000.0 frames/s\n"
                                               "    cpu 0.75 (1.00 0.50 0.75)  time 0.50 (0.25 "
                                               "0.50 2.00)\n"));
}

TEST_F(BenchReportTest, FlawsAreShown) {
  ScenarioResult result = resultOf();
  EXPECT_THAT(report(result, false), Not(HasSubstr("FLAW")));
  result.runs[0].flaws = {"frames: 1 instead of 2"};
  EXPECT_THAT(report(result, false), HasSubstr("  FLAW: frames: 1 instead of 2\n"));
}

TEST_F(BenchReportTest, JsonHoldsEveryRun) {
  const json all = json::parse(report(resultOf(), true));
  EXPECT_THAT(all["environment"]["server"].get<std::string>(), HasSubstr("MariaDB"));
  EXPECT_TRUE(all["warnings"].is_array());
  const json& scenario = all["scenarios"][0];
  EXPECT_EQ("append", scenario["name"]);
  ASSERT_EQ(3U, scenario["runs"].size());
  EXPECT_EQ(2.0, scenario["runs"][1]["seconds"]);
  EXPECT_EQ(0.5, scenario["runs"][1]["cpuSecondsPerGb"]);
  EXPECT_EQ(150.0, scenario["runs"][1]["latencyUs"]["p50"]);
  EXPECT_EQ(7.0, scenario["runs"][1]["figures"]["rows"]);
  const json& comparison = scenario["comparisons"][0];
  EXPECT_EQ("a loop", comparison["rival"]);
  EXPECT_EQ(1.5, comparison["cpuRatio"]);
  EXPECT_THAT(
      comparison["timeRatios"].get<std::vector<double>>(),
      testing::ElementsAre(testing::DoubleEq(0.5), testing::DoubleEq(1), testing::DoubleEq(4)));
  EXPECT_EQ(3U, comparison["theirs"].size());
}

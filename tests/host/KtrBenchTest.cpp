#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/host/ProgramFixture.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

class KtrBenchTest : public ProgramFixture {};

}  // namespace

TEST_F(KtrBenchTest, ShortFormOfEveryScenarioAddsUp) {
  EXPECT_EQ(0, shell("$K bench --root $D/root --short --json")) << err();
  const json all = json::parse(out());
  EXPECT_THAT(all["environment"]["build"].get<std::string>(), HasSubstr("ktr "));
  EXPECT_EQ(15U, all["scenarios"].size());
  for (const json& scenario : all["scenarios"]) {
    for (const json& run : scenario["runs"]) {
      EXPECT_TRUE(run["flaws"].empty()) << scenario["name"] << run["flaws"];
      EXPECT_GT(run["operations"], 0) << scenario["name"];
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(path("root")));
}

TEST_F(KtrBenchTest, PrintsALineAScenarioBehindTheEnvironment) {
  EXPECT_EQ(0, shell("$K bench --root $D/root --short read play")) << err();
  EXPECT_EQ(0U, out().find("build "));
  EXPECT_THAT(out(), HasSubstr("\nread "));
  EXPECT_THAT(out(), HasSubstr("\nplay "));
  EXPECT_THAT(out(), Not(HasSubstr("\nappend ")));
  EXPECT_THAT(err(), HasSubstr("read: run 1 of 1\n"));
}

TEST_F(KtrBenchTest, ComparesAsOftenAsItIsTold) {
  EXPECT_EQ(0, shell("$K bench --root $D/root --short --against --runs 2 --json read")) << err();
  const json scenario = json::parse(out())["scenarios"][0];
  EXPECT_EQ(2U, scenario["runs"].size());
  EXPECT_EQ(2U, scenario["comparisons"][0]["theirs"].size());
}

TEST_F(KtrBenchTest, UnknownScenarioIsOneErrorThatNamesThemAll) {
  EXPECT_EQ(2, shell("$K bench --root $D/root --short reading"));
  EXPECT_THAT(err(), testing::StartsWith("ktr: 'reading' is not a scenario: the scenarios are "
                                         "append, "));
  const std::string text = err();
  EXPECT_EQ(1, std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ("", out());
}

TEST_F(KtrBenchTest, StopsBetweenTwoRunsAndLeavesNothing) {
  EXPECT_EQ(1, shell("$K bench --root $D/root --short --runs 99 read 2>$D/said & " +
                     await("$D/said", 2) + "kill -INT $!; wait $!"));
  EXPECT_THAT(contents("said"), HasSubstr("ktr: stopped before all was measured: run it again\n"));
  EXPECT_THAT(contents("said"), Not(HasSubstr("run 99 of 99")));
  EXPECT_TRUE(std::filesystem::is_empty(path("root")));
}

TEST_F(KtrBenchTest, ServerThatCannotBeSetUpLeavesNothing) {
  EXPECT_EQ(1, shell("ulimit -f 64; $K bench --root $D/root --short read"));
  EXPECT_TRUE(std::filesystem::is_empty(path("root")));
}

TEST_F(KtrBenchTest, RunsThatCannotBeAreAnError) {
  EXPECT_EQ(2, shell("$K bench --root $D/root --runs 0"));
  EXPECT_THAT(err(), HasSubstr("--runs"));
  EXPECT_FALSE(std::filesystem::exists(path("root")));
}

TEST_F(KtrBenchTest, ComparisonOfFewPairsIsAnError) {
  EXPECT_EQ(2, shell("$K bench --root $D/root --against --runs 4 append"));
  EXPECT_EQ(
      "ktr: the median of 4 pairs means little: with --against give --runs 5 or more, or "
      "leave it out\n",
      err());
  EXPECT_FALSE(std::filesystem::exists(path("root")));
}

TEST_F(KtrBenchTest, RootThatCannotBeWrittenToIsAnError) {
  EXPECT_EQ(1, shell("$K bench --root /proc/nowhere --short read"));
  EXPECT_THAT(err(), testing::StartsWith("ktr: cannot make /proc/nowhere/bench."));
  EXPECT_THAT(err(), HasSubstr("give a directory that you may write to"));
}

#include "host/bench/ScenarioResult.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

double secondsOf(const Measurement& run) {
  return run.seconds;
}

ScenarioResult::Runs runs(std::initializer_list<double> seconds) {
  ScenarioResult::Runs all;
  for (const double each : seconds) {
    all.emplace_back();
    all.back().seconds = each;
  }
  return all;
}

}  // namespace

TEST(ScenarioResultTest, MedianIsTheMiddleOrTheMeanOfTheTwoThere) {
  EXPECT_EQ(0, ScenarioResult::median({}));
  EXPECT_EQ(3, ScenarioResult::median({9, 1, 3}));
  EXPECT_EQ(4, ScenarioResult::median({9, 1, 3, 5}));
}

TEST(ScenarioResultTest, FiguresAreMediansOverTheRuns) {
  const ScenarioResult::Runs all = runs({5, 1, 2});
  EXPECT_EQ(2, ScenarioResult::median(all, secondsOf));
  EXPECT_EQ(2, ScenarioResult::typical(all).seconds);
}

TEST(ScenarioResultTest, TypicalOfTwoRunsIsTheQuicker) {
  EXPECT_EQ(1, ScenarioResult::typical(runs({5, 1})).seconds);
}

TEST(ScenarioResultTest, RatiosAreTakenPairByPair) {
  const ScenarioResult::Comparison pairs{"other", runs({6, 2, 9}), runs({3, 4, 9})};
  EXPECT_THAT(pairs.ratios(secondsOf), ElementsAre(2, 0.5, 1));
}

TEST(ScenarioResultTest, PairWithNothingToDivideByHasNoRatio) {
  const ScenarioResult::Comparison pairs{"other", runs({6, 2}), runs({0, 4})};
  EXPECT_THAT(pairs.ratios(secondsOf), ElementsAre(0.5));
}

TEST(ScenarioResultTest, FlawsAreThoseOfAllRunsAndRivals) {
  ScenarioResult result{"", "", "", runs({1, 2}), {{"other", runs({1}), runs({1})}}};
  EXPECT_THAT(result.flaws(), IsEmpty());
  result.runs[1].flaws = {"a frame is gone"};
  result.comparisons[0].theirs[0].flaws = {"it did not run"};
  EXPECT_THAT(result.flaws(), ElementsAre("a frame is gone", "it did not run"));
}

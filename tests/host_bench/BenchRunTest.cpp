#include "host/bench/BenchRun.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Steps = std::vector<std::string>;

class NotedRival : public Rival {
 public:
  explicit NotedRival(Steps& steps) : steps_(steps) {}
  std::string name() const override { return "other"; }
  Measurement run() override {
    steps_.emplace_back("theirs");
    return {};
  }

 private:
  Steps& steps_;
};

class NotedScenario : public Scenario {
 public:
  explicit NotedScenario(Steps& steps) : steps_(steps) {}
  std::string name() const override { return "noted"; }
  std::string description() const override { return "notes what is asked of it"; }
  std::string unit() const override { return "step"; }
  void prepare() override { steps_.emplace_back("prepare"); }
  Measurement run() override {
    steps_.emplace_back("ours");
    return {};
  }
  std::vector<std::unique_ptr<Rival>> rivals() override {
    std::vector<std::unique_ptr<Rival>> rivals;
    rivals.push_back(std::make_unique<NotedRival>(steps_));
    return rivals;
  }

 private:
  Steps& steps_;
};

class BenchRunTest : public testing::Test {
 protected:
  ScenarioResult run(bool against, unsigned int runs) {
    const BenchRun bench({against, runs, [this](const std::string& what) { told_.push_back(what); },
                          [this] { ++before_; }});
    return bench.run(scenario_);
  }

  Steps steps_;
  Steps told_;
  unsigned int before_ = 0;
  NotedScenario scenario_{steps_};
};

}  // namespace

TEST_F(BenchRunTest, RunsOnceWhereNothingIsSaid) {
  const ScenarioResult result = run(false, 0);
  EXPECT_THAT(steps_, ElementsAre("prepare", "ours"));
  EXPECT_EQ("noted", result.name);
  EXPECT_EQ("step", result.unit);
  EXPECT_THAT(result.runs, SizeIs(1));
  EXPECT_THAT(result.comparisons, IsEmpty());
  EXPECT_THAT(told_, ElementsAre("noted: preparing", "noted: run 1 of 1"));
}

TEST_F(BenchRunTest, PairsChangeWhoGoesFirst) {
  const ScenarioResult result = run(true, 3);
  EXPECT_THAT(steps_, ElementsAre("prepare", "ours", "theirs", "theirs", "ours", "ours", "theirs"));
  ASSERT_THAT(result.comparisons, SizeIs(1));
  EXPECT_EQ("other", result.comparisons[0].rival);
  EXPECT_THAT(result.comparisons[0].ours, SizeIs(3));
  EXPECT_THAT(result.comparisons[0].theirs, SizeIs(3));
  EXPECT_THAT(result.runs, SizeIs(3));
}

TEST_F(BenchRunTest, ComparesFiveTimesWhereNothingIsSaid) {
  EXPECT_THAT(run(true, 0).comparisons[0].theirs, SizeIs(5));
}

TEST_F(BenchRunTest, PutsTheMachineInOrderBeforeEveryRun) {
  (void)run(true, 3);
  EXPECT_EQ(6U, before_);
}

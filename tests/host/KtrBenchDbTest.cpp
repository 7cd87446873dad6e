// The scenarios of `ktr bench` that need the database, in their short forms.
#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include "host/bench/AllScenarios.h"
#include "host/bench/LiveStreams.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"

using testing::IsEmpty;

namespace {

/** One private server for all cases of the suite. */
struct Bench {
  TempDir dir;
  std::ostringstream out;
  HostContext context{out, out};
  BenchPlace place{context, StorageRoot::parse(dir.path()), true};
  Scenarios scenarios = makeAllScenarios(place);

  Bench() = default;
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  ~Bench() { context.close(); }
};

}  // namespace

class KtrBenchDbTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { bench_ = std::make_unique<Bench>(); }
  static void TearDownTestSuite() { bench_.reset(); }

  static Scenario& scenario(const std::string& name) {
    for (const auto& each : bench_->scenarios) {
      if (each->name() == name) return *each;
    }
    throw std::out_of_range(name);
  }
  static Measurement run(const std::string& name) {
    scenario(name).prepare();
    return scenario(name).run();
  }

  LogCapture log_;
  static inline std::unique_ptr<Bench> bench_;
};

TEST_F(KtrBenchDbTest, LiveStreamsAreRecordedWithoutALoss) {
  const Measurement result = run("record-32");
  EXPECT_THAT(result.flaws, IsEmpty());
  EXPECT_GT(result.operations, 0U);
  EXPECT_GT(result.bytes, result.operations);
  EXPECT_GT(result.cpuSeconds, 0);
}

TEST_F(KtrBenchDbTest, ASecondRunRecordsIntoItsOwnDatabase) {
  EXPECT_THAT(run("record-1").flaws, IsEmpty());
  EXPECT_THAT(scenario("record-1").run().flaws, IsEmpty());
}

TEST_F(KtrBenchDbTest, EveryLoadEndsAtTheKeyFrameOfItsSecond) {
  for (const char* name : {"load-10k", "load-10m"}) {
    const Measurement result = run(name);
    EXPECT_THAT(result.flaws, IsEmpty());
    EXPECT_EQ(result.latencies.count(), result.operations);
  }
}

TEST_F(KtrBenchDbTest, RivalsOfALoadEndAtTheSameKindOfFrame) {
  for (const auto& rival : scenario("load-10k").rivals()) {
    const Measurement result = rival->run();
    EXPECT_THAT(result.flaws, IsEmpty()) << rival->name();
    EXPECT_GT(result.operations, 0U);
  }
}

TEST_F(KtrBenchDbTest, SessionsAreOpenedAndEnded) {
  const Measurement result = run("session");
  EXPECT_THAT(result.flaws, IsEmpty());
  EXPECT_EQ(result.latencies.count(), result.operations);
}

TEST_F(KtrBenchDbTest, EveryEventHasARowAndATime) {
  const Measurement result = run("event");
  EXPECT_THAT(result.flaws, IsEmpty());
  EXPECT_EQ(result.latencies.count(), result.operations);
}

TEST_F(KtrBenchDbTest, ADayIsDeletedWhileStreamsAreRecorded) {
  const Measurement result = run("retention");
  EXPECT_THAT(result.flaws, IsEmpty());
  EXPECT_GT(result.operations, 0U);
  EXPECT_GT(result.latencies.count(), 0U);
}

TEST_F(KtrBenchDbTest, WhatIsMissingIsAFlaw) {
  LiveStreams live(bench_->place, "flawed", 1);
  live.start();
  live.stop();
  live.removeFiles();
  bench_->place.recorder("flawed").db_do_query("DELETE FROM recordSessions");
  Measurement result;
  live.check(result);
  EXPECT_THAT(result.flaws, testing::Contains("record sessions: 0 instead of 1"));
  EXPECT_THAT(result.flaws, testing::Contains(testing::HasSubstr("bytes on disk: 0 instead of")));
}

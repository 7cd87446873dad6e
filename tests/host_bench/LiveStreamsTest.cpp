#include "host/bench/LiveStreams.h"

#include <filesystem>

#include "runtime/KTLogger.h"
#include "tests/host_bench/BenchFixture.h"
#include "tests/support/LogCapture.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// In the long form: the short one says nothing about time.
class LiveStreamsTest : public BenchFixture {
 protected:
  static void SetUpTestSuite() { begin(false); }
  /** Records until so many frames are stored, and ends. */
  static void record(LiveStreams& live, std::uint64_t frames) {
    live.start();
    while (live.stored().frames < frames) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    live.stop();
  }

  static std::vector<std::string> flawsOf(const LiveStreams& live) {
    Measurement result;
    live.check(result);
    return result.flaws;
  }

  LogCapture log_;
};

}  // namespace

TEST_F(LiveStreamsTest, EveryFrameIsStored) {
  LiveStreams live(place(), "live", 3);
  record(live, 90);
  EXPECT_THAT(flawsOf(live), IsEmpty());
  EXPECT_EQ(live.commits().count(), live.stored().frames);
  EXPECT_GT(live.stored().bytes, live.stored().frames);
  EXPECT_GT(live.commitCpuSeconds(), 0);
}

TEST_F(LiveStreamsTest, MoreThanARecorderTakesAreRecordedByTwo) {
  LiveStreams live(place(), "many", 129);
  record(live, 129);
  EXPECT_THAT(flawsOf(live), IsEmpty());
  EXPECT_FALSE(fs::is_empty(place().storageOf("many1")));
  live.removeFiles();
  EXPECT_TRUE(fs::is_empty(place().storageOf("many")));
  EXPECT_TRUE(fs::is_empty(place().storageOf("many1")));
}

TEST_F(LiveStreamsTest, WhatIsMissingIsAFlaw) {
  LiveStreams live(place(), "flawed", 1);
  record(live, 30);
  live.removeFiles();
  KTR_DB_handle& recorder = place().recorder("flawed");
  recorder.db_do_query("DELETE FROM recordSessions");
  recorder.db_do_query("DELETE FROM dataStreams");
  const std::vector<std::string> flaws = flawsOf(live);
  EXPECT_THAT(flaws, Contains("record sessions: 0 instead of 1"));
  EXPECT_THAT(flaws, Contains(HasSubstr("index rows: 0 instead of ")));
  EXPECT_THAT(flaws, Contains(HasSubstr("bytes on disk: 0 instead of ")));
}

TEST_F(LiveStreamsTest, FallingBehindIsAFlaw) {
  const LogWatch watch;
  LiveStreams live(place(), "slow", 1);
  record(live, 1);
  KTLogger::instance()->log(KTLogger::Warning, "TOO SLOW !!! One turn have took : %d sec %d usec",
                            4, 0);
  Measurement result;
  live.checkPace(watch, result);
  EXPECT_THAT(result.flaws, Contains("turns over 3 s: 1 instead of 0"));
}

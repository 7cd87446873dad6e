#include "tests/crash/CrashFixture.h"

// The process is killed at each step in the life of a record session: see
// docs/design/durability.md.

namespace {

class CrashStepsTest : public CrashFixture {
 protected:
  /** Kills the first recording at a fault; what is left bothers neither the next one nor a repair.
   */
  void crashAt(Recorder& recorder, const std::string& faults,
               std::int64_t promisedMs = FLUSH_MS + ROAD_MS) {
    SCOPED_TRACE(faults);
    recordUntil(recorder, faults, promisedMs);
    expectMended(recorder);
  }
  void expectMended(Recorder& recorder) {
    expectNextRunKeepsFiles(recorder);
    EXPECT_EQ("0", count(recorder, HALF_BORN)) << "the next session removes it";
    expectRepaired(recorder);
  }
  [[nodiscard]] static std::string count(const Recorder& recorder, const std::string& rows) {
    return value(recorder, "SELECT COUNT(*) FROM recordSessions WHERE " + rows);
  }
  void crashAt(const std::string& call, const std::string& what, unsigned int turn = 1) {
    Recorder cam = recorder();
    crashAt(cam, killAt(call, what, turn));
  }

  static constexpr const char* HALF_BORN = "start_time=0 AND end_time=0";
};

}  // namespace

TEST_F(CrashStepsTest, AtTheSettingsRow) {
  crashAt("INSERT", "streamSettings");
}

TEST_F(CrashStepsTest, AtTheDayDirectory) {
  Recorder cam = recorder();
  crashAt(cam, killAt("mkdir", "/" + cam.name + "/20", 2));
}

TEST_F(CrashStepsTest, AtTheSessionRow) {
  crashAt("INSERT", "recordSessions");
}

TEST_F(CrashStepsTest, AtTheFirstSlice) {
  Recorder cam = recorder();
  recordUntil(cam, killAt("open", "_F0.dat"));
  EXPECT_EQ("1", count(cam, HALF_BORN));
  expectMended(cam);
}

TEST_F(CrashStepsTest, AtTheStartTime) {
  crashAt("UPDATE", "recordSessions");
}

TEST_F(CrashStepsTest, AtTheSidecarFile) {
  crashAt("rename", "session.json");
}

TEST_F(CrashStepsTest, AtTheFirstIndexRow) {
  crashAt("INSERT", "dataStreams");
}

TEST_F(CrashStepsTest, AtTheFirstEndTime) {
  crashAt("UPDATE", "recordSessions", 2);
}

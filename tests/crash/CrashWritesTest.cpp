#include <csignal>

#include "tests/crash/CrashFixture.h"

// The process is killed where frames go to the disk: flushes, changes of slices, the end.

namespace {

class CrashWritesTest : public CrashFixture {
 protected:
  // Of frames that were just written to the disk none may be lost, however young.
  static constexpr std::int64_t JUST_WRITTEN_MS = 500;
  static constexpr std::int64_t NONE_MAY_BE_LOST = -3'600'000;
  static constexpr std::int64_t SHORT_MS = 3000;
  static constexpr std::int64_t ONE_FLUSH_MS = FLUSH_MS + 5000;  // and far from the next one

  void crashAt(Recorder& recorder, const std::string& faults,
               std::int64_t promisedMs = FLUSH_MS + ROAD_MS) {
    SCOPED_TRACE(faults);
    recordUntil(recorder, faults, promisedMs);
    expectKept(recorder);
  }
  void crashAtTheEnd(const std::string& faults, std::int64_t promisedMs,
                     std::int64_t lengthMs = SHORT_MS) {
    SCOPED_TRACE(faults);
    Recorder cam = recorder();
    endAndKill(cam, faults, promisedMs, lengthMs);
    expectKept(cam);
  }
  void endAndKill(Recorder& cam, const std::string& faults, std::int64_t promisedMs,
                  std::int64_t lengthMs = SHORT_MS) {
    begin(cam, faults);
    runFor(lengthMs);
    EXPECT_TRUE(cam.process->runs()) << "the fault came before the end";
    cam.process->signal(SIGINT);
    awaitKill(cam, promisedMs);
  }
  static Recorder smallSlices() { return recorder("--slice-size 1", {{1, "large.mp4"}}); }
  void expectKept(Recorder& recorder) {
    const size_t promised = recorder.sent[1].promised();
    EXPECT_NE(0U, promised);
    expectNextRunKeepsFiles(recorder);
    expectPlays(recorder);
    expectRepaired(recorder);
  }
};

}  // namespace

TEST_F(CrashWritesTest, InTheMiddleOfAFlush) {
  Recorder cam = recorder();
  crashAt(cam, killAt("pwrite", "_F0.dat", 2, 1000));
}

TEST_F(CrashWritesTest, AtAnIndexRow) {
  Recorder cam = recorder();
  crashAt(cam, killAt("INSERT", "dataStreams", 17));
}

TEST_F(CrashWritesTest, BetweenAFullSliceAndTheNext) {
  Recorder closing = smallSlices();
  Recorder opening = smallSlices();
  begin(closing, killAt("close", "_F0.dat"));
  begin(opening, killAt("open", "_F1.dat"));
  awaitKill(closing, JUST_WRITTEN_MS);
  awaitKill(opening, JUST_WRITTEN_MS);
  for (Recorder* each : {&closing, &opening}) {
    EXPECT_NE(0U, each->sent[1].promised());
    expectPlays(*each);
    expectRepaired(*each);
  }
}

TEST_F(CrashWritesTest, InTheFirstFlushOfTheNextSlice) {
  Recorder cam = smallSlices();
  crashAt(cam, killAt("pwrite", "_F1.dat", 1, 100'000));
}

TEST_F(CrashWritesTest, InTheMiddleOfTheLastFlushOfTheEnd) {
  crashAtTheEnd(killAt("pwrite", "_F0.dat", 2, 1000), FLUSH_MS + ROAD_MS, ONE_FLUSH_MS);
}

TEST_F(CrashWritesTest, AfterTheLastFlushOfTheEnd) {
  crashAtTheEnd(killAt("close", "_F0.dat"), NONE_MAY_BE_LOST);
}

TEST_F(CrashWritesTest, OfASessionThatHasNoEndYet) {
  Recorder cam = recorder("", {{1, "onekey.mp4"}});
  endAndKill(cam, killAt("close", "_F0.dat"), NONE_MAY_BE_LOST);
  EXPECT_EQ("1", value(cam, "SELECT start_time<>0 AND end_time=0 FROM recordSessions"));
  expectKept(cam);
}

TEST_F(CrashWritesTest, AtTheTimeOfTheEnd) {
  crashAtTheEnd(killAt("UPDATE", "recordSessions", 3), NONE_MAY_BE_LOST);
}

#include <algorithm>
#include <set>

#include "tests/crash/CrashFixture.h"

// The process, or its server, is killed while it deletes.

namespace {

class CrashDeletionTest : public CrashFixture {
 protected:
  using Paths = std::set<std::string>;

  /** A session of two slices. */
  Recorder take() {
    if (!hasRecorded()) {
      recordAhead(RECORDERS, "--slice-size 1", {{1, "large.mp4"}}, "_F1.dat");
      runFor(OLD_ENOUGH_MS);
    }
    Recorder next = takeRecorded();
    EXPECT_EQ(2U, slices(next).size());
    return next;
  }
  static Paths slices(const Recorder& recorder) {
    Paths found;
    for (const auto& [path, hash] : files(recorder)) {
      if (path.find("_F") != std::string::npos) found.insert(path);
    }
    return found;
  }

  [[nodiscard]] KtrProcess::Options retain(const Recorder& recorder,
                                           const std::string& faults) const {
    return {{"retain", "--root", root_->path(), "--recorder", recorder.name, "--max-size", "1B"},
            path("retain"),
            faults};
  }
  /** Kills a deletion of everything at a fault; what is left of it is sound after a repair. */
  void crashAt(const std::string& faults, size_t slicesLeft) {
    SCOPED_TRACE(faults);
    const Recorder cam = take();
    KtrProcess deletion(retain(cam, faults));
    EXPECT_EQ(-SIGKILL, deletion.wait()) << contents("retain");
    EXPECT_EQ(slicesLeft, slices(cam).size());
    expectNothingComesBack(cam);
  }
  void expectNothingComesBack(const Recorder& cam) {
    const Paths left = slices(cam);
    EXPECT_EQ(0, shell(command("repair", cam) + "--yes-really")) << out() << err();
    expectClean(cam);
    EXPECT_EQ(left, slices(cam));
    EXPECT_EQ(std::to_string(left.size()),
              value(cam, "SELECT COUNT(DISTINCT _id,_fileIndex) FROM dataStreams"));
    EXPECT_EQ(0, KtrProcess(retain(cam, "")).wait()) << contents("retain");
    EXPECT_EQ(Paths(), slices(cam));
    EXPECT_EQ("0", value(cam, "SELECT COUNT(*) FROM dataStreams"));
    EXPECT_EQ("0", value(cam, "SELECT COUNT(*) FROM recordSessions"));
  }

  /** Ends a recording by events that nobody has confirmed; a fault kills it while it does so. */
  Recorder throwAwayUntil(const std::string& faults) {
    Recorder cam = recorder("--by-events 4");
    begin(cam, faults);
    runFor(SHORT_WINDOW_MS);
    cam.process->signal(SIGINT);
    awaitKill(cam);
    cam.sent.clear();
    return cam;
  }
  static std::string windows(const Recorder& cam) {
    return value(cam, "SELECT COUNT(*) FROM eventWindows");
  }
  /** What is left of a window whose row is gone leaves nothing behind. */
  void expectThrownAway(const Recorder& cam) {
    EXPECT_EQ("0", value(cam, "SELECT COUNT(*) FROM recordSessions"));
    EXPECT_EQ("1", windows(cam));
    expectRepaired(cam);
    EXPECT_EQ(Paths(), slices(cam));
    EXPECT_TRUE(files(cam).empty());
    EXPECT_EQ("0", value(cam, "SELECT COUNT(*) FROM recordSessions"));
  }

  static constexpr int RECORDERS = 6;
  static constexpr int SHORT_WINDOW_MS = 3000;  // in which no slice of it goes
  static constexpr int OLD_ENOUGH_MS = 1500;    // what ended in this second is never deleted
};

}  // namespace

TEST_F(CrashDeletionTest, AtTheRowsOfASlice) {
  crashAt(killAt("DELETE", "dataStreams"), 2);
}

TEST_F(CrashDeletionTest, BetweenTheRowsAndTheFileOfASlice) {
  crashAt(killAt("unlink", "_F0.dat"), 2);
}

TEST_F(CrashDeletionTest, BetweenTheFileAndTheStartTime) {
  crashAt(killAt("SELECT", "count(*)"), 1);
}

TEST_F(CrashDeletionTest, AtTheFilesOfASession) {
  crashAt(killAt("system", "rm"), 1);
}

TEST_F(CrashDeletionTest, BetweenTheFilesAndTheRowsOfASession) {
  crashAt(killAt("DELETE", "dataStreams", 2), 0);
}

TEST_F(CrashDeletionTest, AtTheRowOfASession) {
  crashAt(killAt("DELETE", "recordSessions"), 0);
}

TEST_F(CrashDeletionTest, InTheWindowOfARecordingByEvents) {
  Recorder cam = recorder("--by-events 4");
  recordUntil(cam, killAt("unlink", "_F1.dat"));
  cam.sent.clear();  // nobody has confirmed it
  const Paths left = slices(cam);
  expectRepaired(cam);
  const Paths repaired = slices(cam);
  EXPECT_TRUE(std::includes(left.begin(), left.end(), repaired.begin(), repaired.end()));
}

TEST_F(CrashDeletionTest, AtTheEntryOfAWindow) {
  Recorder cam = recorder("--by-events 4");
  recordUntil(cam, killAt("INSERT", "eventWindows"));
  cam.sent.clear();
  EXPECT_EQ("1", value(cam, "SELECT COUNT(*) FROM recordSessions"));
  expectRepaired(cam);
}

TEST_F(CrashDeletionTest, BetweenTheRowsAndTheFilesOfAWindow) {
  const Recorder cam = throwAwayUntil(killAt("unlink", "_R1_"));
  EXPECT_LE(2U, slices(cam).size());  // more on a machine that is slow
  expectThrownAway(cam);
  EXPECT_EQ("0", windows(cam));
}

TEST_F(CrashDeletionTest, InTheMiddleOfTheFilesOfAWindow) {
  const Recorder cam = throwAwayUntil(killAt("unlink", "_R1_", 2));
  EXPECT_LE(2U, files(cam).size());  // one of the sidecar file and two slices or more is gone
  expectThrownAway(cam);
}

TEST_F(CrashDeletionTest, AtTheEntryOfAWindowThatIsGone) {
  const Recorder cam = throwAwayUntil(killAt("DELETE", "eventWindows"));
  EXPECT_TRUE(files(cam).empty());
  expectThrownAway(cam);
}

TEST_F(CrashDeletionTest, AtTheFilesOfAWindowInARepair) {
  for (const auto& [call, what] : {std::pair("unlink", "_R1_"), {"DELETE", "eventWindows"}}) {
    const Recorder cam = throwAwayUntil(killAt("unlink", "_R1_"));
    KtrProcess repair({{"repair", "--root", root_->path(), "--recorder", cam.name, "--yes-really"},
                       path("repair"),
                       killAt(call, what)});
    EXPECT_EQ(-SIGKILL, repair.wait()) << contents("repair");
    expectThrownAway(cam);
  }
}

TEST_F(CrashDeletionTest, AServerThatIsKilledMeanwhileStopsNoDeletionForGood) {
  std::map<int, std::string> clips;
  for (int stream = 1; stream <= 20; ++stream) clips[stream] = "small.mp4";
  for (const int delayMs : {60, 120, 200}) {
    SCOPED_TRACE(delayMs);
    Recorder cam = recorder("", clips);
    begin(cam);
    runFor(2500);
    stop(cam);
    runFor(OLD_ENOUGH_MS);
    KtrProcess deletion(retain(cam, ""));
    runFor(delayMs);
    killServer();
    startServer();
    EXPECT_LE(0, deletion.wait()) << contents("retain");
    expectNothingComesBack(cam);
  }
}

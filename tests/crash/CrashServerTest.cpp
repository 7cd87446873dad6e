#include <csignal>

#include "tests/crash/CrashFixture.h"

// The database server is killed beside recordings and players.

namespace {

class CrashServerTest : public CrashFixture {
 protected:
  /** Plays a recording from its beginning on, while it goes on; the frame log is named so too. */
  [[nodiscard]] KtrProcess follow(const Recorder& cam, const std::string& name) const {
    return KtrProcess(
        {{"play", "--root", root_->path(), "--recorder", cam.name, "--stream", "1", "--at", "-1h",
          "--follow", "-o", path(name + ".mkv"), "--frame-log", path(name)},
         path(name + ".output"),
         ""});
  }
};

}  // namespace

TEST_F(CrashServerTest, WhileRecordingLosesNothing) {
  Recorder cam = recorder("", {{1, "small.mp4"}, {2, "sound.mp4"}});
  begin(cam);
  for (int i = 0; i < 2; ++i) {
    runFor(5000);
    killServer();
    startServer();
  }
  runFor(5000);
  stop(cam);
  expectClean(cam);
  expectPlays(cam);
}

TEST_F(CrashServerTest, WhilePlayersFollowARecording) {
  Recorder cam = recorder();
  begin(cam);
  runFor(13'000);
  KtrProcess stopped = follow(cam, "stopped");
  KtrProcess patient = follow(cam, "patient");
  runFor(2000);
  const std::int64_t killedMs = SentFrames::nowMs();
  killServer();
  startServer();
  runFor(15'000);
  stopped.signal(SIGINT);
  EXPECT_EQ(0, stopped.wait()) << contents("stopped.output");
  stop(cam);
  EXPECT_EQ(0, patient.wait()) << contents("patient.output");
  EXPECT_EQ("", cam.sent[1].flawBeforeEnd(path("stopped")));
  EXPECT_NE(0U, SentFrames::playedSince(killedMs, path("stopped"))) << contents("stopped.output");
  EXPECT_EQ("", cam.sent[1].flawOf(path("patient"))) << contents("patient.output");
  expectClean(cam);
  expectPlays(cam);
}

TEST_F(CrashServerTest, JustBeforeTheRecordingIsStopped) {
  Recorder cam = recorder();
  begin(cam);
  runFor(4000);
  killServer();
  startServer();
  stop(cam);
  expectClean(cam);
  expectPlays(cam);
}

TEST_F(CrashServerTest, TogetherWithTheRecording) {
  Recorder cam = recorder("", {{1, "small.mp4"}, {2, "sound.mp4"}});
  begin(cam);
  runFor(18'000);
  killServer();
  kill(cam);
  startServer();
  EXPECT_NE(0U, cam.sent[1].promised());
  expectNextRunKeepsFiles(cam);
  expectRepaired(cam);
}

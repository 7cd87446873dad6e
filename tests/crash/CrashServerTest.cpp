#include <csignal>

#include "tests/crash/CrashFixture.h"

// The database server is killed beside recordings and players.

namespace {

class CrashServerTest : public CrashFixture {};

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

TEST_F(CrashServerTest, WhileAPlayerFollowsARecording) {
  Recorder cam = recorder();
  begin(cam);
  runFor(13'000);
  KtrProcess player(
      {{"play", "--root", root_->path(), "--recorder", cam.name, "--stream", "1", "--at", "-1h",
        "--follow", "-o", path("followed.mkv"), "--frame-log", path("followed")},
       path("player"),
       ""});
  runFor(2000);
  killServer();
  startServer();
  runFor(15'000);
  player.signal(SIGINT);
  EXPECT_EQ(0, player.wait()) << contents("player");
  stop(cam);
  EXPECT_NE("", contents("followed")) << contents("player");
  EXPECT_EQ("", cam.sent[1].strangersIn(path("followed")));
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

#include "tests/crash/CrashFixture.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/TestClip.h"

// A database server that is not ktr's own is killed beside a recording, and nobody starts it again.

namespace {

class CrashUserServerTest : public CrashFixture {
 protected:
  static void SetUpTestSuite() {
    CrashFixture::SetUpTestSuite();
    addClip("slow.mp4", {.seconds = 90, .frameRate = 1, .keyInterval = 5});
    (void)MariaDbServer::instance();  // the option files name it from now on
  }
  CrashUserServerTest() { server_ = "client"; }
  ~CrashUserServerTest() override { MariaDbServer::instance().start(); }

  static void killUserServer() { MariaDbServer::instance().kill(); }
  static void startUserServer() { MariaDbServer::instance().start(); }
};

}  // namespace

TEST_F(CrashUserServerTest, ThatComesBackLosesNothing) {
  Recorder cam = recorder("", {{1, "small.mp4"}, {2, "slow.mp4"}});
  begin(cam);
  for (int i = 0; i < 2; ++i) {
    runFor(8000);
    killUserServer();
    runFor(4000);
    startUserServer();
  }
  runFor(5000);
  stop(cam);
  expectClean(cam);
  expectPlays(cam);
}

// Sessions stand still from the first statement that finds no server, and have not given it up when
// the recording is killed.
TEST_F(CrashUserServerTest, AwayWhenTheRecordingIsKilledTooCostsTheFlushInterval) {
  Recorder cam = recorder("", {{1, "slow.mp4"}, {2, "small.mp4"}});
  begin(cam);
  runFor(14'000);
  killUserServer();
  runFor(22'000);
  kill(cam);
  startUserServer();
  EXPECT_LT(18U, cam.sent[1].promised());
  expectNextRunKeepsFiles(cam);
  expectRepaired(cam);
}

// The sessions have ended, and others are tried in vain.
TEST_F(CrashUserServerTest, AwayForLongCostsTheFlushInterval) {
  Recorder cam = recorder("", {{1, "slow.mp4"}, {2, "small.mp4"}});
  begin(cam);
  runFor(6000);
  killUserServer();
  runFor(55'000);
  kill(cam);
  startUserServer();
  EXPECT_LT(40U, cam.sent[1].promised());
  expectNextRunKeepsFiles(cam);
  expectRepaired(cam);
}

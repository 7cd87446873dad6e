#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

/** ktr record while the server goes away, as it happens to a user. */
class KtrSurviveTest : public ProgramFixture {
 protected:
  /** What a player hands out of stream 1, a frame a line. */
  [[nodiscard]] std::vector<std::string> played(const std::string& recorder) {
    EXPECT_EQ(0, shell("$K play --root $R --recorder " + recorder +
                       " --stream 1 --at -10m --no-audio -o $D/all.mjpeg --frame-log $D/played"))
        << err();
    return lines("played");
  }
  [[nodiscard]] std::vector<std::string> lines(const std::string& name) const {
    std::istringstream text(contents(name));
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }
  [[nodiscard]] static std::vector<std::string> withoutRepeats(
      const std::vector<std::string>& all) {
    const std::set<std::string> once(all.begin(), all.end());
    return {once.begin(), once.end()};
  }
};

}  // namespace

TEST_F(KtrSurviveTest, APrivateServerThatIsKilledIsStartedAgainAndNothingIsLost) {
  TestClip::make(path("a.mkv"), {.codec = "mjpeg", .seconds = 60});
  ASSERT_EQ(0, shell("$K record --root $R --recorder kill --frame-log $D/in --for 12s "
                     "1=$D/a.mkv & a=$!; " +
                     await("$D/in.1") + "kill -9 $(cat $R/.ktr/server.pid); wait $a"))
      << err();
  EXPECT_THAT(err(), HasSubstr("the private database server has ended: it is started again, see "));
  EXPECT_THAT(err(), HasSubstr("the private database server runs again"));
  EXPECT_EQ(lines("in.1"), played("kill"));
}

TEST_F(KtrSurviveTest, WhatAKilledRecordingHasSpooledIsRecordedByTheNextOne) {
  TestClip::make(
      path("large.mkv"),
      {.codec = "mjpeg", .seconds = 40, .size = "1280x720", .encoderOptions = "-qscale:v 1"});
  TestClip::make(path("short.mkv"), {.codec = "mjpeg", .seconds = 1});
  ASSERT_EQ(0, shell("$K server start --root $R; p=$(cat $R/.ktr/server.pid); "
                     "$K record --root $R --recorder spool 1=$D/large.mkv 2>$D/first & a=$!; "
                     "until [ -e $R/spool/*/*/*/*F0.dat ]; do sleep 0.05; done; kill -STOP $p; "
                     "until ls $R/.ktr/spool/spool/1/*.spool; do sleep 0.1; done; sleep 2; "
                     "kill -9 $a; kill -CONT $p; "
                     "$K record --root $R --recorder spool --frame-log $D/in 1=$D/short.mkv"))
      << err();
  EXPECT_THAT(err(), HasSubstr("frames that an earlier recording has left in"));
  EXPECT_TRUE(fs::is_empty(root_->path() + "/.ktr/spool/spool/1"));
  const std::vector<std::string> all = played("spool");
  EXPECT_EQ(all.size(), withoutRepeats(all).size());
  const std::vector<std::string> last = lines("in.1");
  ASSERT_LT(last.size() + 50, all.size());  // two seconds, at 25 frames a second
  EXPECT_TRUE(std::equal(last.rbegin(), last.rend(), all.rbegin()));
  EXPECT_EQ(0, shell("$K server stop --root $R"));
}

TEST_F(KtrSurviveTest, ASpoolSizeThatIsNoneIsRefused) {
  EXPECT_EQ(2, shell("$K record --root $R --recorder none --spool-size much 1=$D/a.mp4"));
  EXPECT_THAT(err(), HasSubstr("much"));
}

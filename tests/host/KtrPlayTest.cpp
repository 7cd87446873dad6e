#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/host/ProgramFixture.h"
#include "tests/support/FileText.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

/** ktr play on a recording of two clips, with a server that was started by hand. */
class KtrPlayTest : public ProgramFixture {
 protected:
  static void SetUpTestSuite() {
    ProgramFixture::SetUpTestSuite();
    clips_ = std::make_unique<TempDir>();
    TestClip::make(source(1), {.bFrames = 2, .seconds = 4});
    TestClip::make(source(2), {.codec = "hevc", .seconds = 4});
    KtrPlayTest recording;
    ASSERT_EQ(0, recording.shell("$K server start --root $R && $K record --root $R --recorder cam "
                                 "--frame-log " +
                                 clips_->path() + "/in 1=" + source(1) + " 2=" + source(2)))
        << recording.err();
  }
  static void TearDownTestSuite() {
    EXPECT_TRUE(isRunning());
    clips_.reset();
    ProgramFixture::TearDownTestSuite();
  }

  static std::string source(int stream) {
    return clips_->path() + "/" + std::to_string(stream) + ".mkv";
  }
  /** What the recording of a stream was fed. */
  static std::string recorded(int stream) {
    return ::contents(clips_->path() + "/in." + std::to_string(stream));
  }
  /** ktr play of a stream of the recorder, with these arguments. */
  int play(int stream, const std::string& arguments) {
    return shell("$K play --root $R --recorder cam --stream " + std::to_string(stream) + " " +
                 arguments);
  }
  void TestBody() override {}

  static std::unique_ptr<TempDir> clips_;
};

std::unique_ptr<TempDir> KtrPlayTest::clips_;

}  // namespace

TEST_F(KtrPlayTest, PlaysEveryFrameIntoEveryForm) {
  for (const int stream : {1, 2}) {
    const std::string raw = std::string("all.") + (stream == 1 ? "h264" : "hevc");
    for (const std::string& output : {std::string("all.mp4"), std::string("all.mkv"), raw}) {
      EXPECT_EQ(0, play(stream, "--at -10m --frame-log $D/played -o $D/" + output)) << err();
      EXPECT_THAT(err(), MatchesRegex("played 100 frames, 4.0 s from [^\n]*, into [^\n]*\n"));
      EXPECT_EQ("", out());
      EXPECT_EQ(recorded(stream), contents("played"));
      EXPECT_EQ(TestClip::pictures(source(stream)), TestClip::pictures(path(output))) << output;
    }
  }
}

TEST_F(KtrPlayTest, PlaysToAPipe) {
  EXPECT_EQ(0, play(1, "--at -10m -o $D/all.h264")) << err();
  EXPECT_EQ(0, play(1, "--at -10m -o - | cat")) << err();
  EXPECT_THAT(err(), HasSubstr(", into standard output\n"));
  EXPECT_EQ(contents("all.h264"), out());
}

TEST_F(KtrPlayTest, PlaysAStretchByTime) {
  ASSERT_EQ(0, shell("$K sessions --root $R --recorder cam --json"));
  const long start = json::parse(out())["sessions"][0]["start"];
  EXPECT_EQ(
      0, play(1, "--for 2s -o $D/part.mp4 --frame-log $D/played --at " + std::to_string(start + 1)))
      << err();
  const std::string played = contents("played");
  EXPECT_THAT(recorded(1), HasSubstr(played));
  EXPECT_LE(50, std::count(played.begin(), played.end(), '\n'));
  EXPECT_GE(62, std::count(played.begin(), played.end(), '\n'));
  EXPECT_FALSE(TestClip::pictures(path("part.mp4")).empty());
}

TEST_F(KtrPlayTest, AReaderThatGoesAwayIsOneLine) {
  EXPECT_EQ(0, shell("{ $K play --root $R --recorder cam --stream 1 --at -10m -o -; echo $? "
                     ">$D/status; } | true"));
  EXPECT_EQ("1\n", contents("status"));
  EXPECT_EQ(
      "ktr: cannot write the standard output: Broken pipe: the program that reads it has "
      "ended\n",
      err());
}

TEST_F(KtrPlayTest, FollowsARunningRecordingToItsEnd) {
  TestClip::make(path("long.mp4"), {.seconds = 14, .frameRate = 50, .keyInterval = 25});
  ASSERT_EQ(0, shell("$K record --root $R --recorder live --frame-log $D/in 1=$D/long.mp4 2>$D/a & "
                     "a=$!; " +
                     await("$D/in.1") +
                     "$K play --root $R --recorder live --stream 1 --at -1m --follow -o $D/o.mkv "
                     "--frame-log $D/played & b=$!; "
                     "$K play --root $R --recorder live --stream 1 --follow --for 2s -o $D/l.mkv "
                     "--frame-log $D/last & c=$!; wait $a && wait $b && wait $c"))
      << err() << contents("a");
  EXPECT_THAT(contents("a"), testing::ContainsRegex("0:00:10 stream 1: [0-9]+ frames, "));
  EXPECT_EQ(contents("in.1"), contents("played"));
  EXPECT_EQ(700U, TestClip::pictures(path("o.mkv")).size());
  const std::string last = contents("last");
  EXPECT_EQ(100, std::count(last.begin(), last.end(), '\n'));
  EXPECT_THAT(contents("in.1"), HasSubstr(last));
}

TEST_F(KtrPlayTest, RefusesBadInputInOneLine) {
  struct Case {
    const char* arguments;
    int status;
    const char* line;
  };
  const Case cases[] = {
      {"--stream 1 --at soon -o $D/o.mp4", 2, "'soon' is not a time: give .*"},
      {"--stream 1 -o $D/o.mp4", 2, "--at is required: see ktr play --help"},
      {"--stream 1 --at now", 2, "--output is required: see ktr play --help"},
      {"--stream -1 --at now -o $D/o.mp4", 2, "'-1' is not a stream number: give .*"},
      {"--stream 1 --at now --for 0 -o $D/o.mp4", 2, "'0' is not a duration: give .*"},
      {"--stream 1 --at -1h -o $D/o.txt", 1, "the name .*o.txt does not say what to write: .*"},
      {"--stream 1 --at -1h -o $D/no/o.mp4", 1, "cannot write .*/no/o.mp4: No such file or .*"},
      {"--stream 1 --at -1h -o $D/o.h265", 1, ".*o.h265 cannot hold h264 video: let .*"},
      {"--stream 1 --at -1h --frame-log $D/no/l -o $D/o.mp4", 1, "cannot write the frame log .*"},
      {"--stream 1 --at 1000 --for 1s -o $D/o.mp4", 1, "nothing of stream 1 is recorded at .*"},
      {"--stream 9 --at -1h -o $D/o.mp4", 1, "nothing of stream 9 is recorded at .*"},
      {"--stream 1 --at 2000000000 --follow -o $D/o.mp4", 1,
       "nothing of stream 1 is recorded at .*"},
  };
  for (const Case& bad : cases) {
    EXPECT_EQ(bad.status, shell("$K play --root $R --recorder cam " + std::string(bad.arguments)));
    const std::string said = err();
    EXPECT_THAT(said, MatchesRegex(std::string("ktr: ") + bad.line + "\n"));
    EXPECT_EQ(1, std::count(said.begin(), said.end(), '\n')) << said;
    EXPECT_EQ("", out());
    EXPECT_FALSE(fs::exists(path("o.mp4")));
  }
}

TEST_F(KtrPlayTest, RefusesAnOutputBeforeItLooksForTheRecording) {
  EXPECT_EQ(1, shell("$K play --root $R/nowhere --recorder cam --stream 1 --at -1h -o o.txt"));
  EXPECT_THAT(err(), HasSubstr("does not say what to write"));
  EXPECT_EQ(1, shell("$K play --root $R --recorder cam --stream 1 --at -1h -o /proc/o.mp4"));
  EXPECT_THAT(err(), testing::StartsWith("ktr: cannot write /proc/o.mp4: "));
}

TEST_F(KtrPlayTest, KeepsTheFileThatIsThereWhenNothingIsPlayed) {
  EXPECT_EQ(1, shell("echo kept >$D/o.mp4; $K play --root $R --recorder cam --stream 9 --at -1h "
                     "-o $D/o.mp4"));
  EXPECT_EQ("kept\n", contents("o.mp4"));
}

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

/** ktr record as a user runs it, in real time. */
class KtrRecordTest : public ProgramFixture {
 protected:
  static void SetUpTestSuite() {
    ProgramFixture::SetUpTestSuite();
    clips_ = std::make_unique<TempDir>();
    TestClip::make(clips_->path() + "/short.mp4", {.bFrames = 2, .seconds = 1});
    TestClip::make(clips_->path() + "/hevc.mkv", {.codec = "hevc", .seconds = 2});
    TestClip::make(clips_->path() + "/long.mp4",
                   {.seconds = 60, .frameRate = 50, .keyInterval = 25});
  }
  static void TearDownTestSuite() {
    clips_.reset();
    ProgramFixture::TearDownTestSuite();
  }
  KtrRecordTest() {
    for (const auto& clip : fs::directory_iterator(clips_->path())) {
      fs::create_symlink(clip.path(), path(clip.path().filename()));
    }
  }
  ~KtrRecordTest() override { EXPECT_FALSE(isRunning()); }

  [[nodiscard]] json sessions(const std::string& recorder) {
    EXPECT_EQ(0, shell("$K sessions --root $R --recorder " + recorder + " --json")) << err();
    return json::parse(out())["sessions"];
  }

  /** Plays a stream whole: every frame that the frame log of the recording names, and no other. */
  void expectPlaysWhole(const std::string& recorder, const std::string& stream,
                        const std::string& frameLog) {
    EXPECT_EQ(0, shell("$K play --root $R --recorder " + recorder + " --stream " + stream +
                       " --at -10m -o $D/all.mkv --frame-log $D/played"))
        << err();
    EXPECT_NE("", contents("played"));
    EXPECT_EQ(contents(frameLog), contents("played"));
  }

 private:
  static std::unique_ptr<TempDir> clips_;
};

std::unique_ptr<TempDir> KtrRecordTest::clips_;

}  // namespace

TEST_F(KtrRecordTest, RecordsClipsWholeAndInRealTime) {
  ASSERT_EQ(0, shell("$K record --root $R --recorder two --frame-log $D/in 1=$D/short.mp4 "
                     "2=$D/hevc.mkv"))
      << err();
  EXPECT_EQ("", out());
  EXPECT_THAT(err(), MatchesRegex("stream 1: recorded 25 frames, [0-9.]+ KiB in 0:00:0[0-9]\n"
                                  "stream 2: recorded 50 frames, [0-9.]+ KiB in 0:00:0[0-9]\n"));
  EXPECT_FALSE(isRunning());
  const json all = sessions("two");
  ASSERT_EQ(2U, all.size());
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ("stored", all[i]["state"]);
    EXPECT_LE(i, all[i]["seconds"]);
    EXPECT_GE(i + 2, all[i]["seconds"]);
  }
  expectPlaysWhole("two", "1", "in.1");
  expectPlaysWhole("two", "2", "in.2");
}

TEST_F(KtrRecordTest, SignalsStopARecordingAndLoseNothing) {
  ASSERT_EQ(0, shell("$K record --root $R --recorder int --frame-log $D/int 1=$D/long.mp4 & a=$!; "
                     "$K record --root $R --recorder term --frame-log $D/term 1=$D/long.mp4 & "
                     "b=$!; " +
                     await("$D/int.1", 51) + await("$D/term.1", 51) +  // two seconds and more
                     "kill -INT $a; kill -TERM $b; wait $a && wait $b"))
      << err();
  for (const char* recorder : {"int", "term"}) {
    const json all = sessions(recorder);
    ASSERT_EQ(1U, all.size());
    EXPECT_EQ("stored", all[0]["state"]);
    EXPECT_LE(1, all[0]["seconds"]);
    EXPECT_GT(60, all[0]["seconds"]);
    expectPlaysWhole(recorder, "1", std::string(recorder) + ".1");
  }
}

TEST_F(KtrRecordTest, ASecondRecordingOfARecorderIsRefusedAndTouchesNothing) {
  EXPECT_EQ(0, shell("$K record --root $R --recorder one --frame-log $D/in 1=$D/long.mp4 2>$D/a & "
                     "a=$!; " +
                     await("$D/in.1") +
                     "echo $a >$D/pid; $K record --root $R --recorder one --frame-log $D/in "
                     "1=$D/short.mp4; echo $? >$D/status; kill -INT $a; wait $a"));
  std::string pid = contents("pid");
  pid.pop_back();
  EXPECT_EQ("1\n", contents("status"));
  EXPECT_EQ("ktr: recorder 'one' is being recorded by process " + pid +
                ": stop that one first, or choose another --recorder\n",
            err());
  ASSERT_EQ(1U, sessions("one").size());
  expectPlaysWhole("one", "1", "in.1");
}

TEST_F(KtrRecordTest, ALaterRecordingKeepsTheEarlierFiles) {
  ASSERT_EQ(0, shell("$K server start --root $R; for i in a b; do $K record --root $R --recorder "
                     "again --frame-log $D/$i 1=$D/short.mp4 || exit 1; done; $K server stop "
                     "--root $R; cat $D/a.1 $D/b.1 >$D/both"))
      << err();
  EXPECT_EQ(2U, sessions("again").size());
  expectPlaysWhole("again", "1", "both");
}

TEST_F(KtrRecordTest, EndsAfterTheTimeThatIsGiven) {
  ASSERT_EQ(0, shell("$K record --root $R --recorder for --for 2s --frame-log $D/in "
                     "1=$D/long.mp4"))
      << err();
  EXPECT_THAT(err(), testing::ContainsRegex("in 0:00:0[2-9]\n"));
  expectPlaysWhole("for", "1", "in.1");
}

TEST_F(KtrRecordTest, DrawsALineOnATerminal) {
  ASSERT_EQ(0, shell("script -qec \"$K record --root $R --recorder tty --for 2s 1=$D/long.mp4\" "
                     "/dev/null"));
  EXPECT_THAT(out(), testing::ContainsRegex("\r.\\[K0:00:01  [0-9]+ frames, [0-9.]+ [KM]iB, "
                                            "[0-9.]+ [kM]bit/s, slice 0, queue [0-9]+\r"));
  EXPECT_THAT(out(), testing::ContainsRegex("\r.\\[Kstream 1: recorded [0-9]+ frames, "));
}

TEST_F(KtrRecordTest, OneStreamThatFailsDoesNotEndTheOthers) {
  EXPECT_EQ(1, shell("echo text >$D/text.mp4; $K record --root $R --recorder part 1=$D/text.mp4 "
                     "2=$D/short.mp4"));
  EXPECT_THAT(err(), MatchesRegex("ktr: stream 1: cannot open .*text.mp4: Invalid data [^\n]*: "
                                  "give a video file or the URL of a camera\n"
                                  "stream 2: recorded 25 frames, [^\n]*\n"));
}

TEST_F(KtrRecordTest, SaysWhenNothingCanBeStored) {
  ASSERT_EQ(0, shell("mkdir -p $R/full; date +%Y >$D/year; touch $R/full/$(cat $D/year)"));
  EXPECT_EQ(1, shell("$K record --root $R --recorder full --spool-size 0 1=$D/short.mp4"));
  EXPECT_THAT(err(), HasSubstr("error: Cant Create Directory !!\n"));
  EXPECT_THAT(err(), HasSubstr("\nstream 1: recorded 0 frames, 0 B in 0:00:0"));
  EXPECT_THAT(err(), HasSubstr(", 25 frames lost\n"));
  EXPECT_THAT(err(), testing::EndsWith("\nktr: nothing of stream 1 could be stored: mend what the "
                                       "messages above name and record again\n"));
}

TEST_F(KtrRecordTest, RefusesBadInputInOneLineBeforeItMakesAnything) {
  struct Case {
    const char* arguments;
    int status;
    const char* line;
  };
  const Case cases[] = {
      {"--recorder cam 1=$D/none.mp4", 1, "cannot open .*none.mp4: No such file or directory: .*"},
      {"--recorder cam 1=foo://bar", 1, "cannot open foo://bar: Protocol not found: check .*"},
      {"--recorder ca_m 1=$D/short.mp4", 2, "'ca_m' is not a recorder name: give .*"},
      {"--recorder cam 256=$D/short.mp4", 2, "'256' is not a stream number: give .*"},
      {"--recorder cam $D/short.mp4", 2, ".* is not a stream: give N=URL.*"},
      {"--recorder cam 1=$D/short.mp4 1=$D/long.mp4", 2, "stream 1 is given twice: give .*"},
      {"--recorder cam --for soon 1=$D/short.mp4", 2, "'soon' is not a duration: give .*"},
      {"--recorder cam --slice-size 2000 1=$D/short.mp4", 2, "'2000' is not a slice size: .*"},
      {"--recorder cam", 2, "streams is required: see ktr record --help"},
  };
  for (const Case& bad : cases) {
    EXPECT_EQ(bad.status, shell("$K record --root $R/empty " + std::string(bad.arguments)));
    const std::string said = err();
    EXPECT_THAT(said, MatchesRegex(std::string("ktr: ") + bad.line + "\n"));
    EXPECT_EQ(1, std::count(said.begin(), said.end(), '\n')) << said;
  }
  EXPECT_FALSE(fs::exists(root_->path() + "/empty"));
}

TEST_F(KtrRecordTest, RefusesPlacesWhereNothingCanBeWritten) {
  EXPECT_EQ(1, shell("$K record --root /proc/none --recorder cam 1=$D/short.mp4"));
  EXPECT_THAT(err(), MatchesRegex("ktr: cannot make the storage root /proc/none [^\n]*\n"));
  EXPECT_EQ(1, shell("$K record --root $R --recorder cam --frame-log $D/no/log 1=$D/short.mp4"));
  EXPECT_THAT(err(), MatchesRegex("ktr: cannot write the frame log [^\n]*log.1: No such [^\n]*\n"));
}

TEST_F(KtrRecordTest, RecordsAndPlaysSound) {
  const std::string clip = TestClip::makeBeeps(path("beeps.mp4"), "aac", {.seconds = 4});
  ASSERT_EQ(0, shell("$K server start --root $R; $K record --root $R --recorder sound 5=" + clip +
                     " --frame-log $D/in"))
      << err();
  EXPECT_THAT(err(), testing::AllOf(HasSubstr("stream 5: recorded 100 frames"),
                                    HasSubstr("stream 133: recorded")));
  EXPECT_NE("", contents("in.133"));
  const std::string play = "$K play --root $R --recorder sound --stream 5 --at -1h -o $D/";
  ASSERT_EQ(0, shell(play + "a.mp4 && " + play + "b.mp4 --no-audio")) << err();
  EXPECT_EQ("aac", TestClip::audioStream(path("a.mp4"), "codec_name"));
  EXPECT_EQ("", TestClip::audioStream(path("b.mp4"), "codec_name"));
  const std::vector<double> flashes = TestClip::flashes(path("a.mp4"));
  const std::vector<double> beeps = TestClip::beeps(path("a.mp4"));
  ASSERT_LE(2U, std::min(flashes.size(), beeps.size()));
  for (size_t i = 0; i < 2; ++i) EXPECT_NEAR(flashes[i], beeps[i], 1024.0 / 48000);
  EXPECT_EQ(0, shell("$K server stop --root $R")) << err();
}

TEST_F(KtrRecordTest, KeepsToThePicturesWhenTold) {
  const std::string clip = TestClip::makeBeeps(path("beeps.mp4"), "aac", {.seconds = 1});
  const std::string record = "$K record --root $R --recorder silent 200=" + clip;
  EXPECT_EQ(2, shell(record));
  EXPECT_THAT(err(),
              HasSubstr("stream 200 is kept for the sound of stream 72: give a number from 0 "
                        "to 127, or --no-audio"));
  EXPECT_EQ(0, shell(record + " --no-audio")) << err();
  EXPECT_THAT(err(), Not(HasSubstr("stream 72")));
}

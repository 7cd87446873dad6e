#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/** ktr record --by-events as a user runs it, on clips with a key frame every second. */
class KtrByEventsTest : public ProgramFixture {
 protected:
  static void SetUpTestSuite() {
    ProgramFixture::SetUpTestSuite();
    clips_ = std::make_unique<TempDir>();
    TestClip::make(clips_->path() + "/long.mp4",
                   {.seconds = 60, .frameRate = 25, .keyInterval = 25});
    TestClip::makeBeeps(clips_->path() + "/beeps.mp4", "aac", {.seconds = 40, .keyInterval = 25});
  }
  static void TearDownTestSuite() {
    clips_.reset();
    ProgramFixture::TearDownTestSuite();
  }
  KtrByEventsTest() {
    for (const auto& clip : fs::directory_iterator(clips_->path())) {
      fs::create_symlink(clip.path(), path(clip.path().filename()));
    }
  }

  /** The beginning of a script: a recorder that records in the background, and a server. */
  [[nodiscard]] static std::string start(const std::string& recorder, const std::string& options,
                                         const std::string& clip = "long.mp4") {
    return "O=\"--root $R --recorder " + recorder +
           "\"; $K server start --root $R >$D/server; $K record $O --by-events " + options +
           " --frame-log $D/in 1=$D/" + clip + " 2>$D/log & p=$!; ";
  }
  /** Waits until the recording has received so many frames. */
  [[nodiscard]] static std::string frames(int count) { return await("$D/in.1", count); }
  [[nodiscard]] static std::string stop() { return "kill -INT $p; wait $p"; }
  /** Asks the private server while it runs. */
  [[nodiscard]] static std::string query(const std::string& sql) {
    return "mariadb --no-defaults -N -S " + root_->paths().socket() + " -e '" + sql + "' >$D/rows";
  }
  [[nodiscard]] static std::string confirm(const std::string& options = "") {
    return "$K events add $O --sensor 3 --type 1 --confirm " + options + " >$D/added || exit 1; ";
  }
  int run(const std::string& script) {
    const int status = shell(script);
    shell("$K server stop --root $R");
    return status;
  }

  [[nodiscard]] json sessions(const std::string& recorder) {
    EXPECT_EQ(0, shell("$K sessions --root $R --recorder " + recorder + " --json")) << err();
    return json::parse(out())["sessions"];
  }
  [[nodiscard]] static std::vector<std::string> files(const std::string& recorder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(root_->path() + "/" + recorder)) {
      if (entry.path().extension() == ".dat") names.push_back(entry.path().filename());
    }
    return names;
  }
  [[nodiscard]] long framesIn(const std::string& name) const {
    const std::string lines = contents(name);
    return std::count(lines.begin(), lines.end(), '\n');
  }
  /** Plays stream 1 whole: the number of frames. All of them came in, one after the other. */
  [[nodiscard]] long play(const std::string& recorder, const std::string& stream = "1") {
    EXPECT_EQ(0, shell("$K play --root $R --recorder " + recorder + " --stream " + stream +
                       " --at -10m -o $D/all.mkv --frame-log $D/played"))
        << err();
    EXPECT_THAT(contents("in." + stream), HasSubstr(contents("played")));
    return framesIn("played");
  }

 private:
  static std::unique_ptr<TempDir> clips_;
};

std::unique_ptr<TempDir> KtrByEventsTest::clips_;

}  // namespace

TEST_F(KtrByEventsTest, WhatNobodyConfirmsLeavesNeitherRowsNorFiles) {
  ASSERT_EQ(0, run(start("none", "4", "beeps.mp4") + frames(175) +
                   "$K sessions $O --json >$D/during; find $R/none -name '*.dat' >$D/files; " +
                   stop() + " && " + query("SELECT COUNT(*) FROM ktr_none.dataStreams")))
      << contents("log") << err();
  const json during = json::parse(contents("during"))["sessions"];
  ASSERT_EQ(2U, during.size());
  for (const json& session : during) EXPECT_EQ("pre-event", session["state"]);
  EXPECT_GE(8, framesIn("files"));
  EXPECT_THAT(files("none"), IsEmpty());
  EXPECT_THAT(sessions("none"), IsEmpty());
  EXPECT_EQ("0\n", contents("rows"));
  EXPECT_THAT(contents("log"), HasSubstr("stream 1: recorded 0 frames"));
}

TEST_F(KtrByEventsTest, AnotherProcessConfirmsAndTheWindowIsKept) {
  ASSERT_EQ(0, run(start("other", "4", "beeps.mp4") + frames(200) + "date +%s >$D/at; " +
                   confirm() + frames(275) + stop()))
      << contents("log") << err();
  const json all = sessions("other");
  ASSERT_EQ(2U, all.size());
  for (const json& session : all) {
    EXPECT_EQ("stored", session["state"]);
    EXPECT_GE(std::stol(contents("at")) - 2, session["start"]);
  }
  EXPECT_GT(framesIn("in.1"), play("other"));
  EXPECT_EQ("aac", TestClip::audioStream(path("all.mkv"), "codec_name"));
  EXPECT_THAT(contents("added"), HasSubstr("sensor 3"));
  EXPECT_FALSE(fs::exists(root_->path() + "/other/recorder.confirm"));
}

TEST_F(KtrByEventsTest, ASignalConfirms) {
  ASSERT_EQ(0, run(start("signal", "4") + frames(200) + "date +%s >$D/at; kill -USR1 $p; " +
                   frames(275) + stop()))
      << contents("log") << err();
  const json all = sessions("signal");
  ASSERT_EQ(1U, all.size());
  EXPECT_GE(std::stol(contents("at")) - 2, all[0]["start"]);
  EXPECT_GT(framesIn("in.1"), play("signal"));
}

TEST_F(KtrByEventsTest, AConfirmationThatIsFollowedByTheEndIsKept) {
  ASSERT_EQ(0, run(start("end", "4") + frames(60) + confirm() + stop())) << contents("log");
  ASSERT_EQ(1U, sessions("end").size());
  EXPECT_EQ(framesIn("in.1"), play("end"));
}

TEST_F(KtrByEventsTest, GoesBackToAWindowAndKeepsEveryEvent) {
  ASSERT_EQ(0, run(start("twice", "2 --post-event 2s") + frames(50) + confirm() + frames(250) +
                   confirm() + frames(450) + "$K sessions $O --json >$D/during; " + stop()))
      << contents("log") << err();
  const json during = json::parse(contents("during"))["sessions"];
  ASSERT_EQ(3U, during.size());
  EXPECT_EQ("stored", during[0]["state"]);
  EXPECT_EQ("stored", during[1]["state"]);
  EXPECT_EQ("pre-event", during[2]["state"]);
  const json all = sessions("twice");
  ASSERT_EQ(2U, all.size());
  for (const json& session : all) EXPECT_GE(9, session["seconds"]);
  EXPECT_LT(0, all[1]["start"].get<long>() - all[0]["end"].get<long>());
  for (const std::string& file : files("twice")) {
    EXPECT_THAT(file,
                testing::AnyOf(HasSubstr("_R" + std::to_string(all[0]["id"].get<int>()) + "_"),
                               HasSubstr("_R" + std::to_string(all[1]["id"].get<int>()) + "_")));
  }
}

TEST_F(KtrByEventsTest, OneStreamCanBeConfirmedAlone) {
  ASSERT_EQ(0,
            run("O=\"--root $R --recorder one\"; $K server start --root $R >$D/server; "
                "$K record $O --by-events 4 --frame-log $D/in 1=$D/long.mp4 2=$D/long.mp4 "
                "2>$D/log & p=$!; " +
                frames(60) + confirm("--stream 9") + confirm("--stream 2") + frames(85) + stop()))
      << contents("log") << err();
  const json all = sessions("one");
  ASSERT_EQ(1U, all.size());
  EXPECT_EQ(2, all[0]["stream"]);
  EXPECT_THAT(contents("log"),
              HasSubstr("an event of stream 9 was confirmed: no such stream is recorded"));
}

TEST_F(KtrByEventsTest, NobodyConfirmsToARecordingThatIsNotByEvents) {
  EXPECT_EQ(0, run("O=\"--root $R --recorder plain\"; $K server start --root $R >$D/server; "
                   "$K record $O --frame-log $D/in 1=$D/long.mp4 2>$D/log & p=$!; " +
                   frames(30) +
                   "$K events add $O --sensor 3 --type 1 --confirm 2>$D/said; echo $? >$D/status; "
                   "$K events list $O --json >$D/events; kill -USR1 $p; " +
                   frames(60) + stop()));
  EXPECT_EQ("1\n", contents("status"));
  EXPECT_EQ(
      "ktr: recorder 'plain' is not being recorded by events: start it with ktr record "
      "--by-events, or leave out --confirm\n",
      contents("said"));
  EXPECT_THAT(json::parse(contents("events"))["events"], IsEmpty());
  EXPECT_THAT(contents("log"),
              HasSubstr("SIGUSR1 confirms an event, but nothing is recorded by events"));
  EXPECT_EQ(framesIn("in.1"), play("plain"));
}

TEST_F(KtrByEventsTest, AKilledRecordingLeavesAWindowThatIsNamedAndPlays) {
  ASSERT_EQ(0, run(start("killed", "4") + frames(175) + "kill -KILL $p; wait $p; true"));
  const json all = sessions("killed");
  ASSERT_EQ(1U, all.size());
  EXPECT_EQ("unconfirmed", all[0]["state"]);
  EXPECT_LT(0, play("killed"));
}

TEST_F(KtrByEventsTest, RefusesAWindowOfOneKeyFrameBeforeItMakesAnything) {
  EXPECT_EQ(2, shell("$K record --root $R/empty --recorder cam --by-events 1 1=$D/long.mp4"));
  EXPECT_EQ(
      "ktr: '1' key frames cannot be kept before an event: give 2 to 100; how many seconds that "
      "is depends on the camera\n",
      err());
  EXPECT_FALSE(fs::exists(root_->path() + "/empty"));
}

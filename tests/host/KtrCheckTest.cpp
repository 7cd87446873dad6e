#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/server/ServerLease.h"
#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

/** ktr check on a recorder "cam" of pictures and sound, two seconds each. */
class KtrCheckTest : public ProgramFixture {
 protected:
  void SetUp() override {
    root_ = std::make_unique<HostTestRoot>();
    lease_.emplace(ServerLease::acquire(root_->paths()));
    TestClip::makeBeeps(root_->path() + "/clip.mkv", "aac", {});
    ASSERT_EQ(0, shell("$K record --root $R --recorder cam 1=$R/clip.mkv")) << err();
  }

  int check(const std::string& words) {
    return shell("$K check --root $R --recorder cam " + words);
  }
  /** The file of the recorder whose name ends so. */
  [[nodiscard]] static std::string file(const std::string& end) {
    for (const auto& entry : fs::recursive_directory_iterator(root_->path() + "/cam")) {
      if (entry.path().string().ends_with(end)) return entry.path();
    }
    return "";
  }

  std::optional<ServerLease> lease_;  // one server for all commands of a case
};

}  // namespace

TEST_F(KtrCheckTest, ASoundRecordingIsClean) {
  for (const char* level : {"", "--level files", "--level index", "--level full"}) {
    EXPECT_EQ(0, check(level)) << out();
    EXPECT_EQ("", out());
    EXPECT_THAT(err(), MatchesRegex("checked 2 sessions, [^\n]*: nothing is wrong\n"));
  }
}

TEST_F(KtrCheckTest, NamesWhatIsWrongInALineEach) {
  std::ofstream(file("R1_F0.dat"), std::ios::app) << "noise";
  fs::remove(file("audioHeader.dat"));
  EXPECT_EQ(1, check("--level files"));
  EXPECT_EQ("no-audio-header: session 2: the header file of the sound is missing\n", out());
  EXPECT_EQ(1, check("--level full"));
  EXPECT_THAT(out(), StartsWith("garbage: session 1, slice 0 at "));
  EXPECT_THAT(out(), HasSubstr("bytes that are no record: playback ends before them (5 bytes)\n"));
  EXPECT_THAT(err(), HasSubstr(": 2 findings; ktr repair mends them"));
}

TEST_F(KtrCheckTest, PrintsJson) {
  std::ofstream(file("audioHeader.dat"), std::ios::app) << "noise";
  EXPECT_EQ(1, check("--json"));
  const json report = json::parse(out());
  EXPECT_EQ("cam", report["recorder"]);
  EXPECT_EQ("index", report["level"]);
  EXPECT_FALSE(report["recording"]);
  EXPECT_EQ(2, report["sessions"]);
  ASSERT_EQ(1U, report["findings"].size());
  EXPECT_EQ("damaged-audio-header", report["findings"][0]["kind"]);
  EXPECT_EQ(2, report["findings"][0]["session"]);
  EXPECT_EQ(0, check("--json --level files"));
  EXPECT_EQ(json::array(), json::parse(out())["findings"]);
}

TEST_F(KtrCheckTest, NamesASliceThatCannotBeRead) {
  const std::string slice = file("R1_F0.dat");
  std::ofstream(slice.substr(0, slice.size() - 5) + "1.dat") << "";
  ASSERT_EQ(0, check("--level full")) << out();
  fs::remove(slice.substr(0, slice.size() - 5) + "1.dat");
  fs::create_directory(slice.substr(0, slice.size() - 5) + "1.dat");
  EXPECT_EQ(1, check("--level full"));
  EXPECT_THAT(out(), HasSubstr("unreadable: session 1, slice 1 at 0: the slice cannot be read ("));
  EXPECT_THAT(out(), HasSubstr("Is a directory)\n"));
}

TEST_F(KtrCheckTest, AHeaderOfSoundThatCannotBeReadIsDamaged) {
  const std::string header = file("audioHeader.dat");
  fs::remove(header);
  fs::create_directory(header);
  EXPECT_EQ(1, check(""));
  EXPECT_EQ("damaged-audio-header: session 2: the header file of the sound is damaged\n", out());
}

TEST_F(KtrCheckTest, SaysThatItCouldNotCheck) {
  EXPECT_EQ(2, check("--level deep"));
  EXPECT_EQ("ktr: 'deep' is not a level: give files, index or full\n", err());
  EXPECT_EQ(2, shell("$K check --root $R --recorder other"));
  EXPECT_THAT(err(), StartsWith("ktr: there is no recorder 'other': "));
  EXPECT_EQ(2, shell("$K check --root $R/none --recorder cam"));
  EXPECT_THAT(err(), StartsWith("ktr: nothing is recorded under "));
}

TEST_F(KtrCheckTest, TellsThatTheDatabaseIsGoneAndMakesNone) {
  lease_.reset();
  fs::remove_all(root_->paths().directory());
  EXPECT_EQ(1, check(""));
  EXPECT_THAT(out(), StartsWith("no-database: the recorder has files and no database (2 sessions)\n"
                                "files-without-rows: session 1: "));
  EXPECT_FALSE(root_->paths().exists());
}

TEST_F(KtrCheckTest, FindsNothingWrongInARecordingInProgress) {
  TestClip::make(path("long.mp4"), {.seconds = 13});
  ASSERT_EQ(0, shell("$K record --root $R --recorder cam 1=$D/long.mp4 2>$D/a & a=$!; "
                     "for i in 1 2 3 4 5 6 7 8 9 10 11 12; do sleep 1; "
                     "$K check --root $R --recorder cam --level full || kill $a; done; wait $a"))
      << out() << err() << contents("a");
  EXPECT_EQ("", out());
}

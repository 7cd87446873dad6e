#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "host/RecorderLock.h"
#include "host/server/ServerLease.h"
#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/** ktr repair on a recorder "cam" of pictures, sound and MJPEG, which every case damages anew. */
class KtrRepairTest : public ProgramFixture {
 protected:
  void SetUp() override {
    root_ = std::make_unique<HostTestRoot>();
    lease_.emplace(ServerLease::acquire(root_->paths()));
    TestClip::makeBeeps(path("1.mkv"), "aac", {.bFrames = 2});
    TestClip::make(path("2.mkv"), {.codec = "mjpeg"});
    ASSERT_EQ(0,
              shell("$K record --root $R --recorder cam --frame-log $D/in 1=$D/1.mkv 2=$D/2.mkv"))
        << err();
    ASSERT_EQ(0, ktr("play", "--stream 1 --at -10m -o $D/before.mkv"));
  }

  int ktr(const std::string& command, const std::string& words = "") {
    return shell("$K " + command + " --root $R --recorder cam " + words);
  }
  /** Plays both streams and compares every frame with what was recorded. */
  void expectAllPlays() {
    for (const std::string stream : {"1", "2"}) {
      EXPECT_EQ(0, ktr("play", "--stream " + stream + " --at -10m -o $D/o.mkv --frame-log $D/out"))
          << err();
      EXPECT_EQ(contents("in." + stream), contents("out")) << stream;
    }
    EXPECT_EQ(0, ktr("play", "--stream 1 --at -10m -o $D/after.mkv"));
    EXPECT_EQ(TestClip::audioPackets(path("before.mkv"), "data_hash"),
              TestClip::audioPackets(path("after.mkv"), "data_hash"));
  }
  void expectClean() { EXPECT_EQ(0, ktr("check", "--level full")) << out() << err(); }
  /** The file of the recorder whose name ends so. */
  [[nodiscard]] static std::string file(const std::string& end) {
    for (const auto& entry : fs::recursive_directory_iterator(root_->path() + "/cam")) {
      if (entry.path().string().ends_with(end)) return entry.path();
    }
    return "";
  }
  /** The session of a stream. */
  [[nodiscard]] std::string sessionOf(unsigned int stream) {
    EXPECT_EQ(0, ktr("sessions", "--json --stream " + std::to_string(stream)));
    return std::to_string(json::parse(out())["sessions"][0]["id"].get<int>());
  }
  void loseDatabase() {
    lease_.reset();
    fs::remove_all(root_->paths().directory());
    lease_.emplace(ServerLease::acquire(root_->paths()));
  }

  std::optional<ServerLease> lease_;  // one server for all commands of a case
};

}  // namespace

TEST_F(KtrRepairTest, HasNothingToDoOnASoundRecorder) {
  EXPECT_EQ(0, ktr("repair")) << err();
  EXPECT_EQ("", out());
  EXPECT_EQ("nothing is wrong\n", err());
}

TEST_F(KtrRepairTest, BringsAWholeRecorderBackWithoutItsDatabase) {
  ASSERT_EQ(0, ktr("sessions", "--json"));
  const json before = json::parse(out())["sessions"];
  loseDatabase();
  EXPECT_EQ(0, ktr("repair", "--dry-run")) << err();
  EXPECT_THAT(out(), StartsWith("no-database: the recorder has files and no database (3 sessions): "
                                "the database is made anew\n"));
  EXPECT_EQ(1, ktr("sessions"));
  EXPECT_EQ(0, ktr("repair")) << err();
  EXPECT_EQ("mended 4 findings\n", err());
  ASSERT_EQ(0, ktr("sessions", "--json"));
  EXPECT_EQ(before, json::parse(out())["sessions"]);
  expectClean();
  expectAllPlays();
}

TEST_F(KtrRepairTest, KnowsStreamsBySettingsWithoutSidecarFiles) {
  for (int i = 1; i <= 3; ++i) fs::remove(file("R" + std::to_string(i) + "_session.json"));
  loseDatabase();
  EXPECT_EQ(0, ktr("repair")) << err();
  expectClean();
  ASSERT_EQ(0, ktr("sessions", "--json"));
  const json sessions = json::parse(out())["sessions"];
  ASSERT_EQ(3U, sessions.size());
  for (const json& session : sessions) {
    const std::string codec = session["codec"];
    if (codec == "aac") {
      EXPECT_LE(129, session["stream"]);
      continue;
    }
    EXPECT_EQ("160x120", session["format"]);
    EXPECT_EQ(25, session["fps"]);
    const std::string stream = std::to_string(session["stream"].get<int>());
    EXPECT_EQ(0, ktr("play", "--stream " + stream + " --at -10m -o $D/o.mkv --frame-log $D/out"));
    EXPECT_EQ(contents(codec == "h264" ? "in.1" : "in.2"), contents("out"));
  }
}

TEST_F(KtrRepairTest, MendsFilesAndRows) {
  const std::string first = sessionOf(1);
  const std::string sound = sessionOf(129);
  std::ofstream(file("R" + first + "_F0.dat"), std::ios::app) << "noise at the end";
  fs::remove(file("R" + sound + "_audioHeader.dat"));
  EXPECT_EQ(1, ktr("check", "--level full"));
  EXPECT_EQ(0, ktr("repair")) << err();
  EXPECT_THAT(out(), HasSubstr("garbage: session " + first + ", slice 0 at "));
  EXPECT_THAT(out(), HasSubstr("(16 bytes): they are moved to a file of their own\n"));
  EXPECT_NE("", file("R" + first + "_F0.damaged"));
  expectClean();
  expectAllPlays();
}

TEST_F(KtrRepairTest, MakesALostHeaderOfSoundFromASessionLikeIt) {
  ASSERT_EQ(0, ktr("record", "1=$D/1.mkv"));
  const std::string sound = sessionOf(129);
  fs::remove(file("R" + sound + "_audioHeader.dat"));
  fs::remove(file("R" + sound + "_session.json"));
  EXPECT_EQ(0, ktr("repair")) << out() << err();
  expectClean();
}

TEST_F(KtrRepairTest, ADryRunChangesNothing) {
  const std::string damaged = file("R" + sessionOf(1) + "_F0.dat");
  std::ofstream(damaged, std::ios::app) << "noise";
  const auto size = fs::file_size(damaged);
  EXPECT_EQ(0, ktr("repair", "--dry-run --json"));
  const json report = json::parse(out());
  EXPECT_TRUE(report["dryRun"]);
  EXPECT_EQ("garbage", report["findings"][0]["kind"]);
  EXPECT_EQ("they are moved to a file of their own", report["findings"][0]["remedy"]);
  EXPECT_EQ(size, fs::file_size(damaged));
  EXPECT_EQ("", file("recorder.lock.damaged"));
}

TEST_F(KtrRepairTest, RefusesToRemoveMoreThanHalf) {
  fs::rename(root_->path() + "/cam", root_->path() + "/away");
  fs::create_directory(root_->path() + "/cam");
  EXPECT_EQ(1, ktr("repair"));
  EXPECT_THAT(err(), HasSubstr("ktr: this would remove more than half: 3 of 3 sessions, "));
  const std::string refusal = err();
  EXPECT_EQ(1, ktr("repair", "--dry-run"));
  EXPECT_THAT(err(), HasSubstr(refusal));
  EXPECT_EQ(1, ktr("repair", "--dry-run --json"));
  EXPECT_EQ("ktr: " + std::string(json::parse(out())["problems"][0]) + "\n", refusal);
  EXPECT_EQ(0, ktr("repair", "--dry-run --yes-really"));
  EXPECT_EQ(0, ktr("sessions", "--json"));
  EXPECT_EQ(3U, json::parse(out())["sessions"].size());
  fs::remove_all(root_->path() + "/cam");
  fs::rename(root_->path() + "/away", root_->path() + "/cam");
  expectClean();
  fs::remove_all(root_->path() + "/cam");
  fs::create_directory(root_->path() + "/cam");
  EXPECT_EQ(0, ktr("repair", "--yes-really")) << err();
  EXPECT_EQ(0, ktr("sessions", "--json"));
  EXPECT_EQ(0U, json::parse(out())["sessions"].size());
}

TEST_F(KtrRepairTest, RefusesToRemoveAZeroedRecorderWithoutItsDatabase) {
  loseDatabase();
  for (int i = 1; i <= 3; ++i) {
    const std::string slice = file("R" + std::to_string(i) + "_F0.dat");
    const auto size = fs::file_size(slice);
    fs::resize_file(slice, 0);
    fs::resize_file(slice, size);
  }
  EXPECT_EQ(1, ktr("repair"));
  EXPECT_THAT(err(), HasSubstr("ktr: this would remove more than half: 3 of 3 sessions, "));
  for (int i = 1; i <= 3; ++i) EXPECT_NE("", file("R" + std::to_string(i) + "_F0.dat"));
}

TEST_F(KtrRepairTest, LeavesARecorderThatIsBeingRecordedAlone) {
  const RecorderLock lock(root_->root(), RecorderName::parse("cam"));
  for (const char* words : {"", "--dry-run"}) {
    EXPECT_EQ(1, ktr("repair", words));
    EXPECT_EQ(
        "ktr: recorder 'cam' is being recorded: stop that first; ktr check looks at it meanwhile\n",
        err());
  }
  EXPECT_EQ(2, ktr("repair", "--stream 300"));
  EXPECT_EQ(1, shell("$K repair --root $R --recorder other"));
  EXPECT_THAT(err(), StartsWith("ktr: there is no recorder 'other': "));
}

TEST_F(KtrRepairTest, GoesOnAfterItWasKilledAnywhere) {
  loseDatabase();
  std::ofstream(file("R1_F0.dat"), std::ios::app) << "noise";
  for (int milliseconds = 10; milliseconds < 400; milliseconds += 15) {
    const std::string seconds = std::to_string(milliseconds / 1000.0);
    (void)shell("timeout -s KILL " + seconds + " $K repair --root $R --recorder cam");
  }
  EXPECT_EQ(0, ktr("repair")) << err();
  expectClean();
  expectAllPlays();
}

TEST_F(KtrRepairTest, ANewServerBesideTheOldSpool) {
  lease_.reset();
  fs::rename(root_->paths().dataDirectory(), path("data.damaged"));
  const std::string waiting = root_->paths().directory() + "/spool/cam/1/0.spool";
  fs::create_directories(fs::path(waiting).parent_path());
  std::ofstream(waiting) << "frames";
  lease_.emplace(ServerLease::acquire(root_->paths()));
  EXPECT_EQ(0, ktr("repair")) << err();
  expectClean();
  expectAllPlays();
  EXPECT_TRUE(fs::exists(waiting));
}

TEST_F(KtrRepairTest, ARecordingWithoutItsDatabaseKeepsOutOfOldFiles) {
  loseDatabase();
  EXPECT_EQ(0, ktr("record", "3=$D/2.mkv")) << err();
  EXPECT_THAT(err(), HasSubstr("the database has lost sessions whose files are there: new ones "
                               "begin at id 4; see ktr check"));
  EXPECT_EQ("4", sessionOf(3));
  EXPECT_EQ(0, ktr("repair")) << err();
  expectClean();
  expectAllPlays();
}

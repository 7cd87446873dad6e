#include "host/commands/RetainCommand.h"

#include <filesystem>
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

/** Runs the program on a root with two recorders, "cam" and "other", of two seconds each. */
class RetainCommandTest : public ProgramFixture {
 protected:
  void SetUp() override {
    root_ = std::make_unique<HostTestRoot>();
    lease_.emplace(ServerLease::acquire(root_->paths()));
    TestClip::make(root_->path() + "/clip.mp4");
    for (const char* name : {"cam", "other"}) {
      ASSERT_EQ(0, ktr(std::string("record 1=$R/clip.mp4 --recorder ") + name)) << err();
    }
  }

  /** Runs ktr with words in which $R is the storage root: its exit status. */
  int ktr(const std::string& words) { return shell("$K " + words + " --root $R"); }

  [[nodiscard]] int slices(const std::string& recorder) const {
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root_->path() + "/" + recorder)) {
      if (entry.path().extension() == ".dat") ++count;
    }
    return count;
  }

  std::optional<ServerLease> lease_;  // one server for all commands of a case
};

}  // namespace

TEST_F(RetainCommandTest, DeletesWhatItsDryRunTells) {
  EXPECT_EQ(0, ktr("retain --recorder cam --max-size 0 --min-free 0 --dry-run")) << err();
  const std::string told = out();
  EXPECT_THAT(told, StartsWith("deleted session 1, stream 1, "));
  EXPECT_THAT(told, HasSubstr("KiB: the recorder holds "));
  EXPECT_EQ(1, slices("cam"));
  EXPECT_EQ(0, ktr("retain --recorder cam --max-size 0 --min-free 0")) << err();
  EXPECT_EQ(told, out());
  EXPECT_EQ(0, slices("cam"));
  EXPECT_EQ(1, slices("other"));
  EXPECT_EQ(0, ktr("sessions --recorder cam"));
  EXPECT_EQ("Recorder 'cam' has recorded nothing yet.\n", out());
  EXPECT_EQ(0, ktr("retain --recorder cam --max-size 0"));
  EXPECT_EQ("", out());
}

TEST_F(RetainCommandTest, PrintsJson) {
  EXPECT_EQ(0, ktr("retain --recorder cam --max-size 0 --json")) << err();
  const json report = json::parse(out());
  EXPECT_EQ("session", report["deleted"][0]["what"]);
  EXPECT_EQ(report["deletedBytes"], report["deleted"][0]["bytes"]);
}

TEST_F(RetainCommandTest, LeavesARecorderThatIsBeingRecordedAlone) {
  const RecorderLock lock(root_->root(), RecorderName::parse("cam"));
  EXPECT_EQ(1, ktr("retain --recorder cam --max-size 0"));
  EXPECT_EQ(
      "ktr: recorder 'cam' is being recorded: give these options to its ktr record instead, or "
      "use --dry-run\n",
      err());
  EXPECT_EQ(1, slices("cam"));
  EXPECT_EQ(1, ktr("retain --recorder cam --max-size 0 --dry-run"));
  EXPECT_THAT(err(), HasSubstr("the rest is being recorded"));
}

TEST_F(RetainCommandTest, SaysWhenAGoalCannotBeMet) {
  EXPECT_EQ(1, ktr("retain --recorder cam --max-size 0 --keep-at-least 1d"));
  EXPECT_THAT(err(), HasSubstr("nothing more may be deleted: make room"));
  EXPECT_EQ(2, ktr("retain --recorder cam --max-age 1h --keep-at-least 1d"));
}

TEST_F(RetainCommandTest, RecordingDeletesTheOldestAndGoesOn) {
  EXPECT_EQ(0, ktr("record 1=$R/clip.mp4 --recorder cam --max-size 1")) << err();
  EXPECT_THAT(err(), HasSubstr("warning: retention: deleted session 1, stream 1"));
  EXPECT_THAT(err(), HasSubstr("recorded 50 frames"));
  EXPECT_EQ(0, ktr("sessions --recorder cam --json"));
  const json sessions = json::parse(out())["sessions"];
  ASSERT_EQ(1U, sessions.size());
  EXPECT_EQ(2, sessions[0]["id"]);
}

#include "host/commands/RetainCommand.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>

#include "host/RecorderLock.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/** Runs the program on a root with two recorders, "cam" and "other", of two seconds each. */
class RetainCommandTest : public testing::Test {
 protected:
  void SetUp() override {
    TestClip::make(root_.path() + "/clip.mp4");
    for (const char* name : {"cam", "other"}) {
      ASSERT_EQ(0, ktr(std::string("record 1=$R/clip.mp4 --recorder ") + name)) << err();
    }
  }

  /** Runs ktr with words in which $R is the storage root: its exit status. */
  int ktr(const std::string& words) {
    const std::string program = fs::read_symlink("/proc/self/exe").parent_path() / "ktr";
    const std::string command = "R=" + root_.path() + "; " + program + " " + words +
                                " --root $R >" + dir_.path() + "/out 2>" + dir_.path() +
                                "/err </dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  [[nodiscard]] std::string out() const { return contents("/out"); }
  [[nodiscard]] std::string err() const { return contents("/err"); }

  [[nodiscard]] int slices(const std::string& recorder) const {
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root_.path() + "/" + recorder)) {
      if (entry.path().extension() == ".dat") ++count;
    }
    return count;
  }

  HostTestRoot root_;
  TempDir dir_;
  ServerLease lease_ = ServerLease::acquire(root_.paths());

 private:
  [[nodiscard]] std::string contents(const std::string& name) const {
    std::ifstream file(dir_.path() + name);
    return {std::istreambuf_iterator<char>(file), {}};
  }
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
  const RecorderLock lock(root_.root(), RecorderName::parse("cam"));
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

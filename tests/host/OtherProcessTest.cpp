#include "host/system/OtherProcess.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <fstream>

#include "tests/support/TempDir.h"

using std::chrono::milliseconds;

namespace {

class OtherProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    child_ = fork();
    if (child_ == 0) {
      execl("/bin/sleep", "sleep", "1000", static_cast<char*>(nullptr));
      _exit(1);
    }
    while (!OtherProcess::find(child_)->hasArgument("1000")) usleep(1000);
  }
  void TearDown() override { end(); }

  void end() {
    if (child_ <= 0) return;
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    child_ = -1;
  }

  pid_t child_ = -1;
};

}  // namespace

TEST_F(OtherProcessTest, KnowsTheCommandLine) {
  const auto process = OtherProcess::find(child_);
  EXPECT_EQ("sleep 1000", process->commandLine());
  EXPECT_TRUE(process->hasArgument("sleep"));
  EXPECT_FALSE(process->hasArgument("100"));
}

TEST_F(OtherProcessTest, FindsNoProcessThatIsGone) {
  const pid_t gone = child_;
  end();
  EXPECT_FALSE(OtherProcess::find(gone).has_value());
  EXPECT_FALSE(OtherProcess::find(0).has_value());
  EXPECT_FALSE(OtherProcess::find(-1).has_value());
}

TEST_F(OtherProcessTest, SignalsAndSeesTheEnd) {
  const auto process = OtherProcess::find(child_);
  EXPECT_FALSE(process->waitForEnd(milliseconds(0)));
  process->signal(SIGTERM);
  EXPECT_TRUE(process->waitForEnd(std::chrono::seconds(60)));
}

TEST_F(OtherProcessTest, ADeadProcessThatNobodyReapedHasNoArguments) {
  const auto process = OtherProcess::find(child_);
  process->signal(SIGKILL);
  EXPECT_TRUE(process->waitForEnd(std::chrono::seconds(60)));
  EXPECT_FALSE(process->hasArgument("sleep"));
  EXPECT_EQ("", process->commandLine());
}

TEST_F(OtherProcessTest, FindsWhoHasAFileOpen) {
  const TempDir dir;
  const std::string path = dir.path() + "/file";
  EXPECT_THAT(OtherProcess::withOpenFile(path), testing::IsEmpty());
  const std::ofstream file(path);
  EXPECT_THAT(OtherProcess::withOpenFile(path), testing::ElementsAre(getpid()));
}

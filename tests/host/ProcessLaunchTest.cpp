#include "host/system/ProcessLaunch.h"

#include <unistd.h>

#include <csignal>

#include "host/system/OtherProcess.h"
#include "tests/host/UsageErrors.h"
#include "tests/support/FileText.h"
#include "tests/support/TempDir.h"

namespace {

class ProcessLaunchTest : public testing::Test {
 protected:
  int run(const std::string& script) {
    return ProcessLaunch({"sh", "-c", script}, log_).runAndWait();
  }

  [[nodiscard]] std::string output() const { return contents(log_); }

  // Whether the process waits for something, its loader having closed what it had opened.
  [[nodiscard]] static bool isAsleep(pid_t pid) {
    const std::string stat = contents("/proc/" + std::to_string(pid) + "/stat");
    const size_t nameEnd = stat.rfind(')');
    return nameEnd != std::string::npos && stat.compare(nameEnd, 3, ") S") == 0;
  }

  TempDir dir_;
  std::string log_ = dir_.path() + "/log";
};

}  // namespace

TEST_F(ProcessLaunchTest, RunsWithOutputInTheLog) {
  EXPECT_EQ(3, run("echo out; echo err >&2; cat; exit 3"));
  EXPECT_EQ("out\nerr\n", output());
}

TEST_F(ProcessLaunchTest, TellsTheSignalThatEndedIt) {
  EXPECT_EQ(128 + SIGTERM, run("kill $$"));
}

TEST_F(ProcessLaunchTest, StartsWithSignalsAsUsual) {
  const auto former = signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(128 + SIGPIPE, run("kill -PIPE $$"));
  signal(SIGPIPE, former);
}

TEST_F(ProcessLaunchTest, SaysWhatToInstall) {
  EXPECT_THAT(failureOf([&] { return ProcessLaunch({"no-such-program"}, log_).runAndWait(); }),
              testing::HasSubstr("install the package"));
}

TEST_F(ProcessLaunchTest, SaysWhyTheLogCannotBeWritten) {
  const ProcessLaunch launch({"true"}, dir_.path() + "/none/log");
  EXPECT_THAT(failureOf([&] { return launch.runAndWait(); }), testing::HasSubstr("none/log"));
}

TEST_F(ProcessLaunchTest, DetachedProcessHasNothingOfOurs) {
  const pid_t pid = ProcessLaunch({"sleep", "1000"}, log_).startDetached();
  const auto process = OtherProcess::find(pid);
  ASSERT_TRUE(process.has_value());
  while (!process->hasArgument("1000") || !isAsleep(pid)) usleep(1000);
  EXPECT_NE(getsid(0), getsid(pid));
  EXPECT_NE(getpgrp(), getpgid(pid));
  for (const int fd : {0, 1, 2, 3, 4, 5}) {
    char target[256] = {};
    const std::string link = "/proc/" + std::to_string(pid) + "/fd/" + std::to_string(fd);
    const bool open = readlink(link.c_str(), target, sizeof target - 1) > 0;
    EXPECT_STREQ(fd > 2 ? "" : fd == 0 ? "/dev/null" : log_.c_str(), open ? target : "");
  }
  process->signal(SIGKILL);
}

#include "host/bench/ResourceMeter.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "host/system/ProcessLaunch.h"

using testing::Ge;
using testing::Lt;

namespace {

double ownCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void burn(double cpuSeconds) {
  for (const double end = ownCpuSeconds() + cpuSeconds; ownCpuSeconds() < end;) {
  }
}

}  // namespace

TEST(ResourceMeterTest, CountsTheProcessorTimeOfThisProcess) {
  const ResourceMeter meter;
  burn(0.05);
  Measurement result;
  meter.read(result);
  EXPECT_THAT(result.cpuSeconds, Ge(0.05));
  EXPECT_THAT(result.seconds, Ge(0.05));
  EXPECT_EQ(0, result.serverCpuSeconds);
}

TEST(ResourceMeterTest, CountsChildrenAloneWhereAskedTo) {
  const ResourceMeter children(0, ResourceMeter::Children);
  burn(0.05);
  Measurement result;
  children.read(result);
  EXPECT_EQ(0, result.cpuSeconds);
  const std::vector<std::string> busy = {"sh", "-c",
                                         "i=0; while [ $i -lt 20000 ]; do i=$((i+1)); done"};
  EXPECT_EQ(0, ProcessLaunch(busy, "/dev/null").runAndWait());
  children.read(result);
  EXPECT_GT(result.cpuSeconds, 0);
}

TEST(ResourceMeterTest, CountsAServersProcess) {
  const pid_t server = fork();
  if (server == 0) {
    for (;;) burn(1);
  }
  const ResourceMeter meter(server);
  Measurement result;
  while (result.serverCpuSeconds < 0.02) meter.read(result);  // for ever, if it were not counted
  kill(server, SIGKILL);
  waitpid(server, nullptr, 0);
  EXPECT_THAT(result.cpuSeconds, Lt(result.seconds + 0.02));
}

// Not from the beginning of the system, whose threads have long worked for seconds.
TEST(ResourceMeterTest, KernelsThreadsCountFromItsMakingOn) {
  constexpr double TICKS = 1;  // the kernel counts in ticks of 10 ms, and a hundred threads tick
  const ResourceMeter meter;
  Measurement result;
  meter.read(result);
  EXPECT_THAT(result.kernelCpuSeconds, Ge(0));
  EXPECT_THAT(result.kernelCpuSeconds,
              Lt(result.seconds * std::thread::hardware_concurrency() + TICKS));
}

TEST(ResourceMeterTest, KnowsWhatIsResident) {
  const std::uint64_t before = ResourceMeter::residentBytes();
  const std::vector<char> memory(64 << 20, 1);
  EXPECT_GE(ResourceMeter::residentBytes(), before + memory.size() / 2);
}

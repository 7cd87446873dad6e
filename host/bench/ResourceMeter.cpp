#include "host/bench/ResourceMeter.h"

#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// The monitor of memory accesses looks around at its own pace, whatever anybody does: in a minute
// of few streams it would be most of what the kernel's threads have used.
bool isMemoryMonitor(const std::string& stat) {
  return stat.find("(kdamond") != std::string::npos;
}

struct ProcessTimes {
  bool isOfKernelsWork = false;
  double cpuSeconds = 0;
};

// The fields of interest stand behind the name of the process, which may hold anything.
ProcessTimes timesOf(const std::string& pid) {
  constexpr int FLAGS = 6;  // places behind the name, the state being 0
  constexpr int USER_TICKS = 11;
  constexpr unsigned long KERNEL_THREAD = 0x00200000;
  std::ifstream file("/proc/" + pid + "/stat");
  std::string line;
  std::getline(file, line);
  const size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return {};
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string skipped;
  unsigned long flags = 0;
  for (int i = 0; i < FLAGS; ++i) fields >> skipped;
  fields >> flags;
  for (int i = FLAGS + 1; i < USER_TICKS; ++i) fields >> skipped;
  double user = 0;
  double kernel = 0;
  fields >> user >> kernel;
  return {(flags & KERNEL_THREAD) != 0 && !isMemoryMonitor(line),
          (user + kernel) / static_cast<double>(sysconf(_SC_CLK_TCK))};
}

}  // namespace

ResourceMeter::ResourceMeter(pid_t serverPid, Who who)
    : serverPid_(serverPid),
      who_(who),
      kernelStart_(kernelThreads()),
      serverStart_(serverCpuSeconds()),
      cpuStart_(cpuSeconds()),
      start_(Latencies::Clock::now()) {}

void ResourceMeter::read(Measurement& result) const {
  result.seconds = std::chrono::duration<double>(Latencies::Clock::now() - start_).count();
  result.cpuSeconds = cpuSeconds() - cpuStart_;
  result.serverCpuSeconds = serverCpuSeconds() - serverStart_;
  result.kernelCpuSeconds = kernelCpuSeconds();
}

double ResourceMeter::cpuSeconds() const {
  rusage usage{};
  getrusage(who_ == ThisProcess ? RUSAGE_SELF : RUSAGE_CHILDREN, &usage);
  return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

double ResourceMeter::serverCpuSeconds() const {
  return serverPid_ == 0 ? 0 : timesOf(std::to_string(serverPid_)).cpuSeconds;
}

// Thread by thread: the kernel ends its workers and makes new ones, and what one had used before
// must not be taken off when it is gone.
double ResourceMeter::kernelCpuSeconds() const {
  double sum = 0;
  for (const auto& [id, seconds] : kernelThreads()) {
    const auto before = kernelStart_.find(id);
    const bool known = before != kernelStart_.end() && before->second <= seconds;
    sum += known ? seconds - before->second : seconds;
  }
  return sum;
}

ResourceMeter::ThreadTimes ResourceMeter::kernelThreads() {
  ThreadTimes threads;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    const ProcessTimes times = timesOf(name);
    if (times.isOfKernelsWork) threads[std::stoi(name)] = times.cpuSeconds;
  }
  return threads;
}

std::uint64_t ResourceMeter::residentBytes() {
  std::ifstream file("/proc/self/statm");
  std::uint64_t total = 0;
  std::uint64_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

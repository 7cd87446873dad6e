#include "host/bench/BenchEnvironment.h"

#include <sys/statvfs.h>
#include <sys/utsname.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "host/ByteText.h"
#include "host/bench/BenchPlace.h"
#include "host/bench/rivals/WriteLoop.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"

namespace fs = std::filesystem;

namespace {

constexpr unsigned int FEW_PROCESSORS = 1;
constexpr double BUSY_LOAD = 0.5;  // runnable tasks a processor, of others
constexpr std::uint64_t LITTLE_SPACE = 40ULL << 30;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool SANITIZED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool SANITIZED = true;
#else
constexpr bool SANITIZED = false;
#endif
#else
constexpr bool SANITIZED = false;
#endif

#ifdef __OPTIMIZE__
constexpr bool OPTIMIZED = true;
#else
constexpr bool OPTIMIZED = false;
#endif

/** Behind "key : " in a file of such lines; the first one. */
std::string fieldOf(const std::string& path, const std::string& key) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(key)) continue;
    const size_t colon = line.find(':');
    const size_t value = line.find_first_not_of(" \t", colon + 1);
    if (value != std::string::npos) return line.substr(value);
  }
  return "unknown";
}

std::string firstLineOf(const std::string& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

// The mount whose directory is the longest beginning of the path.
std::string mountOf(const std::string& path) {
  std::ifstream mounts("/proc/self/mounts");
  std::string best;
  std::string found = "unknown";
  std::string device;
  std::string directory;
  std::string type;
  std::string options;
  for (std::string rest; mounts >> device >> directory >> type >> options;) {
    std::getline(mounts, rest);
    const std::string prefix = directory == "/" ? directory : directory + "/";
    if ((path + "/").starts_with(prefix) && directory.size() >= best.size()) {
      best = directory;
      found = type + " on " + device + " (" + options + ")";
    }
  }
  return found;
}

double loadOfMachine() {
  double load = 0;
  return getloadavg(&load, 1) == 1 ? load : 0;
}

}  // namespace

BenchEnvironment BenchEnvironment::read(const BenchPlace& place) {
  BenchEnvironment environment;
  environment.addBuild();
  environment.addMachine();
  environment.addFileSystem(place.directory());
  environment.addServer(place);
  return environment;
}

void BenchEnvironment::addBuild() {
  lines_.emplace_back("build", std::string("ktr ") + KTR_VERSION + ", " + __VERSION__ +
                                   (OPTIMIZED ? ", optimised" : ", not optimised") +
                                   (SANITIZED ? ", with sanitizers" : ""));
  if (!OPTIMIZED || SANITIZED) {
    warnings_.emplace_back(
        "this build is not made for speed: measure one of the release preset, or an installed ktr");
  }
}

void BenchEnvironment::addMachine() {
  const unsigned int processors = std::thread::hardware_concurrency();
  utsname system{};
  uname(&system);
  lines_.emplace_back("processor",
                      std::to_string(processors) + " x " + fieldOf("/proc/cpuinfo", "model name"));
  lines_.emplace_back("memory", fieldOf("/proc/meminfo", "MemTotal"));
  lines_.emplace_back("kernel",
                      std::string(system.sysname) + " " + system.release + " " + system.machine);
  if (processors <= FEW_PROCESSORS) {
    warnings_.emplace_back(
        "there is one processor: the sessions, the server and the one who measures share it");
  }
  const std::string governor = firstLineOf("/sys/devices/system/cpu/cpu0/cpufreq/scaling_governor");
  if (!governor.empty() && governor != "performance") {
    warnings_.push_back("the processor changes its speed (governor " + governor +
                        "): set it to performance");
  }
  const double load = loadOfMachine();
  if (load > BUSY_LOAD * processors) {
    std::ostringstream text;
    text << "others keep this machine busy (load " << load << "): trust ratios and medians alone";
    warnings_.push_back(text.str());
  }
}

void BenchEnvironment::addFileSystem(const std::string& directory) {
  std::error_code error;
  const fs::space_info space = fs::space(directory, error);
  const std::string mount = mountOf(directory);
  lines_.emplace_back("file system", mount + ", " + ByteText::format(space.available) + " free");
  if (mount.starts_with("tmpfs")) {
    warnings_.emplace_back("this directory is in memory: give one on the disk to be recorded on");
  }
  if (!WriteLoop::directWorks(directory)) {
    warnings_.emplace_back(
        "this file system takes no writes past the page cache (O_DIRECT): recording goes through "
        "it, which costs more");
  }
  if (space.available < LITTLE_SPACE) {
    warnings_.push_back("only " + ByteText::format(space.available) +
                        " are free: the long scenarios write up to 20 GiB, and a full file system "
                        "is slow");
  }
}

void BenchEnvironment::addServer(const BenchPlace& place) {
  ServerConnection connection;
  if (!connection.connectTo(place.serverPaths().socket(), OptionFile::currentUser())) {
    lines_.emplace_back("server", "does not answer: " + connection.error());
    return;
  }
  lines_.emplace_back("server", connection.value("SELECT VERSION()").value_or("unknown"));
  std::string settings;
  for (const char* name : {"innodb_buffer_pool_size", "innodb_log_file_size",
                           "innodb_flush_log_at_trx_commit", "innodb_flush_method"}) {
    settings += (settings.empty() ? "" : ", ") + std::string(name) + " " +
                connection.value("SHOW GLOBAL VARIABLES LIKE '" + std::string(name) + "'", 1)
                    .value_or("unknown");
  }
  lines_.emplace_back("settings", settings);
}

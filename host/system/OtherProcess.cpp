#include "host/system/OtherProcess.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "host/input/AsciiText.h"
#include "host/media/SecretText.h"

namespace fs = std::filesystem;

namespace {

/** The words of a command line, each followed by a zero byte; empty for a zombie. */
std::string rawCommandLine(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool hasOpen(const fs::path& process, const struct stat& wanted) {
  std::error_code ended;
  for (fs::directory_iterator entry(process / "fd", ended), end; !ended && entry != end;
       entry.increment(ended)) {
    struct stat found {};
    if (stat(entry->path().c_str(), &found) == 0 && found.st_ino == wanted.st_ino &&
        found.st_dev == wanted.st_dev) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::optional<OtherProcess> OtherProcess::find(pid_t pid) {
  if (pid <= 0) return std::nullopt;
  UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  if (!handle) return std::nullopt;
  return OtherProcess(pid, std::move(handle));
}

bool OtherProcess::hasArgument(const std::string& word) const {
  const std::string words = '\0' + rawCommandLine(pid_);
  return words.find('\0' + word + '\0') != std::string::npos;
}

std::string OtherProcess::commandLine() const {
  std::istringstream words(rawCommandLine(pid_));
  std::string line;
  for (std::string word; std::getline(words, word, '\0');) {
    line += (line.empty() ? "" : " ") + SecretText::ofWord(word);
  }
  return line;
}

void OtherProcess::signal(int number) const {
  syscall(SYS_pidfd_send_signal, handle_.get(), number, nullptr, 0);
}

bool OtherProcess::waitForEnd(std::chrono::milliseconds limit) const {
  // A pidfd becomes readable when its process ends, also when nobody reaps it.
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd ended{handle_.get(), POLLIN, 0};
    const int result = poll(&ended, 1, static_cast<int>(std::max<long>(left.count(), 0)));
    if (result > 0) return true;
    if (result == 0) return false;
  }
}

std::vector<pid_t> OtherProcess::withOpenFile(const std::string& path) {
  std::vector<pid_t> pids;
  struct stat wanted {};
  if (stat(path.c_str(), &wanted) != 0) return pids;
  std::error_code error;
  for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
       entry.increment(error)) {
    const std::optional<long> pid = parseDigits(entry->path().filename().string());
    if (pid && hasOpen(entry->path(), wanted)) pids.push_back(static_cast<pid_t>(*pid));
  }
  return pids;
}

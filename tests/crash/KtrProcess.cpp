#include "tests/crash/KtrProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/FaultLog.h"

namespace fs = std::filesystem;

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// The process notes what it meets for itself, and its notes end with it.
void note(const std::string& command, const std::string& faults) {
  std::istringstream lines(faults);
  for (std::string fault; std::getline(lines, fault);) {
    FaultLog::note("into ktr " + command + ": " + fault);
  }
}

std::vector<std::string> environmentWith(const std::string& faults, const fs::path& bin) {
  std::vector<std::string> all;
  for (char** each = environ; *each != nullptr; ++each) all.emplace_back(*each);
  if (faults.empty()) return all;
  const char* const asan = getenv("ASAN_OPTIONS");
  all.push_back("ASAN_OPTIONS=" + std::string(asan == nullptr ? "" : asan) +
                ":verify_asan_link_order=0");
  all.push_back("KTR_FAULTS=" + faults);
  all.push_back("LD_PRELOAD=" + (bin.parent_path() / "lib/libktr_faults.so").string());
  return all;
}

}  // namespace

KtrProcess::KtrProcess(const Options& options) {
  const fs::path bin = fs::read_symlink("/proc/self/exe").parent_path();
  std::vector<std::string> arguments{(bin / "ktr").string()};
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  note(options.arguments.front(), options.faults);
  std::vector<std::string> environment = environmentWith(options.faults, bin);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, options.output.c_str(),
                                   O_WRONLY | O_CREAT | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
  const int error = posix_spawn(&pid_, arguments.front().c_str(), &files, nullptr,
                                pointersTo(arguments).data(), pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) throw std::runtime_error("cannot run " + arguments.front());
}

KtrProcess::~KtrProcess() {
  signal(SIGKILL);
  (void)wait();
}

void KtrProcess::signal(int number) const {
  if (pid_ > 0) ::kill(pid_, number);
}

bool KtrProcess::runs() const {
  siginfo_t ended{};
  return pid_ > 0 &&
         waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         ended.si_pid == 0;
}

int KtrProcess::wait() {
  if (pid_ <= 0) return status_;
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  status_ = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  return status_;
}

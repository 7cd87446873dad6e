#include "tests/support/FaultCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>
#include <sstream>
#include <vector>

#include "tests/support/FaultLog.h"

namespace {

constexpr unsigned int SECTOR = 512;

struct Fault {
  std::string call;
  std::string path;
  int error = 0;
  unsigned int bytes = 0;
  unsigned int first = 1;
  unsigned int times = 1;
  unsigned int met = 0;  // calls that it could have broken
};

struct Faults {
  std::atomic<bool> armed{false};
  std::mutex mutex;
  std::vector<Fault> all;
  unsigned int count = 0;
};

Faults& faults() {
  static auto* const all = new Faults;
  return *all;
}

void addFault(const std::string& text) {
  Fault fault;
  std::istringstream(text) >> fault.call >> fault.path >> fault.error >> fault.bytes >>
      fault.first >> fault.times;
  const std::lock_guard lock(faults().mutex);
  faults().all.push_back(fault);
  faults().armed = true;
}

// For a program that knows nothing of the tests.
[[gnu::constructor]] void addFaultsOfEnvironment() {
  const char* const given = getenv("KTR_FAULTS");
  std::istringstream lines(given == nullptr ? "" : given);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty()) addFault(line);
  }
}

std::string described(const Fault& fault, const std::string& path) {
  return fault.call + " no. " + std::to_string(fault.met) + " on " + path + ": " +
         (fault.error == FaultCalls::KILL ? "killed"
          : fault.error != 0              ? std::strerror(fault.error)
                                          : std::to_string(fault.bytes) + " bytes at most");
}

bool meets(Fault& fault, const char* call, const std::string& path) {
  if (fault.call != call || path.find(fault.path) == std::string::npos) return false;
  ++fault.met;
  return fault.met >= fault.first && fault.met - fault.first < fault.times;
}

std::optional<Fault> dueOn(const char* call, const std::string& path) {
  const std::lock_guard lock(faults().mutex);
  std::optional<Fault> due;
  for (Fault& fault : faults().all) {
    if (meets(fault, call, path) && !due) due = fault;
  }
  if (!due) return due;
  ++faults().count;
  FaultLog::note(described(*due, path));
  return due;
}

std::optional<Fault> due(const char* call, const char* path) {
  if (!faults().armed) return std::nullopt;
  return dueOn(call, path);
}

std::optional<Fault> due(const char* call, int fd) {
  if (!faults().armed) return std::nullopt;
  char path[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(fd);
  const ssize_t length = readlink(link.c_str(), path, sizeof path);
  return dueOn(call, std::string(path, length < 0 ? 0 : static_cast<size_t>(length)));
}

int failed(const Fault& fault) {
  if (fault.error == FaultCalls::KILL) (void)raise(SIGKILL);
  errno = fault.error;
  return -1;
}

template <typename Function>
Function* real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// How much of a write takes place. Past the cache a disk takes whole sectors only.
size_t cut(const Fault& fault, int fd, size_t n) {
  static auto* const flags = real(&fcntl, "fcntl64");
  const bool direct = (flags(fd, F_GETFL) & O_DIRECT) != 0;
  return std::min<size_t>(n, direct ? fault.bytes / SECTOR * SECTOR : fault.bytes);
}

}  // namespace

// These come before the C library's own for every caller, provided that they can be seen. With
// 64-bit offsets the headers rename some of them.
#pragma GCC visibility push(default)
extern "C" {

int open(const char* path, int flags, ...) {
  static auto* const next = real(&open, "open64");
  if (const auto fault = due("open", path)) return failed(*fault);
  mode_t mode = 0;
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
    va_list rest;
    va_start(rest, flags);
    mode = va_arg(rest, mode_t);
    va_end(rest);
  }
  return next(path, flags, mode);
}

// As the kernel does it: the descriptor is gone, whatever the answer.
int close(int fd) {
  static auto* const next = real(&close, "close");
  const auto fault = due("close", fd);
  const int result = next(fd);
  return fault ? failed(*fault) : result;
}

int mkdir(const char* path, mode_t mode) __THROW {
  static auto* const next = real(&mkdir, "mkdir");
  if (const auto fault = due("mkdir", path)) return failed(*fault);
  return next(path, mode);
}

ssize_t pread(int fd, void* dst, size_t n, off_t offset) {
  static auto* const next = real(&pread, "pread64");
  const auto fault = due("pread", fd);
  if (fault && fault->error != 0) return failed(*fault);
  return next(fd, dst, fault ? std::min<size_t>(n, fault->bytes) : n, offset);
}

ssize_t pwrite(int fd, const void* src, size_t n, off_t offset) {
  static auto* const next = real(&pwrite, "pwrite64");
  const auto fault = due("pwrite", fd);
  if (fault && fault->error == FaultCalls::KILL) {
    (void)next(fd, src, cut(*fault, fd, n), offset);
  }
  if (fault && fault->error != 0) return failed(*fault);
  return next(fd, src, fault ? cut(*fault, fd, n) : n, offset);
}

// A change of the descriptor's flags; all other commands work.
int fcntl(int fd, int command, ...) {
  static auto* const next = real(&fcntl, "fcntl64");
  if (command == F_SETFL) {
    if (const auto fault = due("fcntl", fd)) return failed(*fault);
  }
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  return next(fd, command, argument);
}

ssize_t write(int fd, const void* src, size_t n) {
  static auto* const next = real(&write, "write");
  if (const auto fault = due("write", fd)) return failed(*fault);
  return next(fd, src, n);
}

int fsync(int fd) {
  static auto* const next = real(&fsync, "fsync");
  if (const auto fault = due("fsync", fd)) return failed(*fault);
  return next(fd);
}

int rename(const char* from, const char* to) __THROW {
  static auto* const next = real(&rename, "rename");
  if (const auto fault = due("rename", to)) return failed(*fault);
  return next(from, to);
}

int ftruncate(int fd, off_t length) __THROW {
  static auto* const next = real(&ftruncate, "ftruncate64");
  if (const auto fault = due("ftruncate", fd)) return failed(*fault);
  return next(fd, length);
}

int unlink(const char* path) __THROW {
  static auto* const next = real(&unlink, "unlink");
  if (const auto fault = due("unlink", path)) return failed(*fault);
  return next(path);
}

}  // extern "C"
#pragma GCC visibility pop

namespace {

// Handlers of signals write as well, and may not look for the C library's function then.
[[gnu::constructor]] void findWrite() {
  (void)write(-1, nullptr, 0);
}

}  // namespace

FaultCalls::FaultCalls() {
  const std::lock_guard lock(faults().mutex);
  faults().count = 0;
}

std::string FaultCalls::text(const std::string& call, const std::string& path, int error,
                             unsigned int bytes, Turn turn) {
  std::ostringstream line;
  line << call << ' ' << path << ' ' << error << ' ' << bytes << ' ' << turn.first << ' '
       << turn.times;
  return line.str();
}

void FaultCalls::killIfDue(const char* call, const std::string& what) {
  if (!faults().armed) return;
  if (const auto fault = dueOn(call, what)) (void)failed(*fault);
}

void FaultCalls::add(const std::string& text) {
  addFault(text);
}

void FaultCalls::restore() {
  const std::lock_guard lock(faults().mutex);
  faults().all.clear();
  faults().armed = false;
}

unsigned int FaultCalls::count() const {
  const std::lock_guard lock(faults().mutex);
  return faults().count;
}

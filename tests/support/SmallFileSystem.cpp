#include "tests/support/SmallFileSystem.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "tests/support/FaultLog.h"

namespace {

[[noreturn]] void refuse(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

void writeTo(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

// An account that may not mount gets a user namespace in which it is root.
void becomeRootOfOwn() {
  const std::string user = "0 " + std::to_string(geteuid()) + " 1";
  const std::string group = "0 " + std::to_string(getegid()) + " 1";
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) refuse("cannot have mounts of my own");
  writeTo("/proc/self/setgroups", "deny");
  writeTo("/proc/self/uid_map", user);
  writeTo("/proc/self/gid_map", group);
}

bool enterNamespace() {
  if (unshare(CLONE_NEWNS) != 0) becomeRootOfOwn();
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) refuse("cannot go private");
  return true;
}

}  // namespace

SmallFileSystem::SmallFileSystem(const std::string& directory, unsigned int bytes)
    : directory_(directory) {
  [[maybe_unused]] static const bool entered = enterNamespace();
  const std::string size = "size=" + std::to_string(bytes);
  if (mount("small", directory.c_str(), "tmpfs", 0, size.c_str()) != 0) {
    refuse("cannot mount " + directory);
  }
  FaultLog::note("a file system of " + std::to_string(bytes) + " bytes on " + directory);
}

SmallFileSystem::~SmallFileSystem() {
  umount2(directory_.c_str(), MNT_DETACH);
}

void SmallFileSystem::readOnly(bool only) {
  if (mount("small", directory_.c_str(), "tmpfs", MS_REMOUNT | (only ? MS_RDONLY : 0), nullptr) !=
      0) {
    refuse("cannot mount " + directory_ + " anew");
  }
  FaultLog::note(directory_ + (only ? " is read-only" : " is writable again"));
}

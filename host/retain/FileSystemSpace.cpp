#include "host/retain/FileSystemSpace.h"

#include <sys/statvfs.h>

#include "host/HostError.h"

// What is reserved for root counts as not free: a recorder that is not root cannot use it.
FileSystemSpace FileSystemSpace::at(const std::string& path) {
  struct statvfs answer {};
  if (statvfs(path.c_str(), &answer) != 0) {
    throw systemFailure("cannot tell the free space of " + path, "check the storage root");
  }
  const uint64_t block = answer.f_frsize;
  return {answer.f_blocks * block, answer.f_bavail * block};
}

#include "host/system/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <array>
#include <cerrno>
#include <fstream>

#include "host/HostError.h"

namespace {

int flockRetried(int fd, int operation) {
  int result = 0;
  do {
    result = flock(fd, operation);
  } while (result != 0 && errno == EINTR);
  return result;
}

int operationOf(FileLock::Mode mode) {
  return mode == FileLock::Shared ? LOCK_SH : LOCK_EX;
}

}  // namespace

FileLock::FileLock(std::string path)
    : path_(std::move(path)), file_(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (!file_) {
    throw systemFailure("cannot open the lock file " + path_,
                        "check the owner and the rights of its directory");
  }
}

void FileLock::lock(Mode mode) {
  if (flockRetried(file_.get(), operationOf(mode)) != 0) {
    throw systemFailure("cannot lock " + path_, "use a file system that supports flock");
  }
}

bool FileLock::tryLock(Mode mode) {
  return flockRetried(file_.get(), operationOf(mode) | LOCK_NB) == 0;
}

void FileLock::unlock() {
  flockRetried(file_.get(), LOCK_UN);
}

void FileLock::writeText(const std::string& text) {
  if (ftruncate(file_.get(), 0) != 0 ||
      pwrite(file_.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
    throw systemFailure("cannot write " + path_, "make room on the disk");
  }
}

std::string FileLock::readText(const std::string& path) {
  std::array<char, 4096> text{};
  std::ifstream file(path, std::ios::binary);
  file.read(text.data(), text.size());
  return {text.data(), static_cast<size_t>(file.gcount())};
}

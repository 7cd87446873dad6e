#include "host/repair/DurableFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "host/HostError.h"

namespace {

constexpr mode_t MODE = 0644;
constexpr mode_t ALL_RIGHTS = 0777;
constexpr const char* REMEDY = "make room, or mend the disk, and repair again";

void check(bool done, const std::string& what, const std::string& path) {
  if (!done) throw systemFailure("cannot " + what + " " + path, REMEDY);
}

std::array<timespec, 2> timesOf(const std::string& path) {
  struct stat file {};
  check(stat(path.c_str(), &file) == 0, "look at", path);
  return {file.st_atim, file.st_mtim};
}

void setTimes(const std::string& path, const std::array<timespec, 2>& times) {
  check(utimensat(AT_FDCWD, path.c_str(), times.data(), 0) == 0, "set the times of", path);
}

}  // namespace

DurableFile::DurableFile(const std::string& path, Mode mode) : path_(path) {
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (mode == Unique ? O_EXCL : O_TRUNC);
  for (int number = 2;; ++number) {
    fd_ = UniqueFd(open(path_.c_str(), flags, MODE));
    if (fd_ || mode != Unique || errno != EEXIST) break;
    path_ = path + "." + std::to_string(number);
  }
  check(static_cast<bool>(fd_), "make", path_);
}

void DurableFile::write(std::span<const unsigned char> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(fd_.get(), bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    check(count > 0, "write", path_);
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
}

void DurableFile::finish() {
  check(fsync(fd_.get()) == 0, "write", path_);
  fd_.reset();
  syncDirectoryOf(path_);
}

void DurableFile::rename(const std::string& from, const std::string& to) {
  check(std::rename(from.c_str(), to.c_str()) == 0, "rename", from);
  syncDirectoryOf(to);
}

void DurableFile::remove(const std::string& path) {
  check(unlink(path.c_str()) == 0 || errno == ENOENT, "remove", path);
}

void DurableFile::touch(const std::string& path) {
  const UniqueFd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, MODE));
  check(static_cast<bool>(fd), "make", path);
  syncDirectoryOf(path);
}

void DurableFile::truncate(const std::string& path, uint64_t size) {
  const std::array<timespec, 2> times = timesOf(path);
  const UniqueFd fd(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  check(fd && ftruncate(fd.get(), static_cast<off_t>(size)) == 0 && fsync(fd.get()) == 0, "cut",
        path);
  setTimes(path, times);
}

// The owner first: a change of it takes bits out of the mode.
void DurableFile::copyAttributes(const std::string& from, const std::string& to) {
  struct stat old {};
  check(stat(from.c_str(), &old) == 0, "look at", from);
  check(chown(to.c_str(), old.st_uid, old.st_gid) == 0 || errno == EPERM, "set the owner of", to);
  check(chmod(to.c_str(), old.st_mode & ALL_RIGHTS) == 0, "set the rights of", to);
  setTimes(to, {old.st_atim, old.st_mtim});
}

void DurableFile::syncDirectoryOf(const std::string& path) {
  const std::string directory = path.substr(0, path.rfind('/') + 1);
  const UniqueFd fd(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  check(fd && fsync(fd.get()) == 0, "sync", directory);
}

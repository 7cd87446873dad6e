#include "host/bench/FilledCache.h"

#include <fcntl.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "host/HostError.h"
#include "host/system/UniqueFd.h"

namespace {

constexpr std::size_t STEP = 1 << 20;
// The kernel begins to reclaim at about a hundredth, and keeps so much free for itself.
constexpr std::uint64_t FREE_SHARE = 64;
// Of the hole's size: what is read again was evicted long ago.
constexpr std::uint64_t TURNS = 2;

struct sysinfo memory() {
  struct sysinfo info = {};
  sysinfo(&info);
  return info;
}

}  // namespace

FilledCache::FilledCache(const std::string& directory, std::uint64_t bytes)
    : path_(directory + "/hole"), bytes_(std::max<std::uint64_t>(bytes, STEP)) {
  const UniqueFd file(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!file || ftruncate(file.get(), static_cast<off_t>(TURNS * bytes_)) != 0) {
    throw systemFailure("cannot make " + path_, "measure without --aged");
  }
}

FilledCache::~FilledCache() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

void FilledCache::fill() {
  const UniqueFd file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  std::vector<unsigned char> room(STEP);
  const std::uint64_t enough = memoryBytes() / FREE_SHARE;
  for (std::uint64_t read = 0; read < bytes_ && freeBytes() > enough; read += STEP) {
    if (pread(file.get(), room.data(), STEP, static_cast<off_t>(place_)) < 0) {
      throw systemFailure("cannot read " + path_, "measure without --aged");
    }
    place_ = (place_ + STEP) % (TURNS * bytes_);
  }
}

std::uint64_t FilledCache::memoryBytes() {
  const struct sysinfo info = memory();
  return std::uint64_t{info.totalram} * info.mem_unit;
}

std::uint64_t FilledCache::freeBytes() {
  const struct sysinfo info = memory();
  return std::uint64_t{info.freeram} * info.mem_unit;
}

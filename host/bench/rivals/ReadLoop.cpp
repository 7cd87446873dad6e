#include "host/bench/rivals/ReadLoop.h"

#include <fcntl.h>
#include <unistd.h>

#include "host/HostError.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/Quickest.h"
#include "host/system/UniqueFd.h"

namespace {

constexpr std::size_t KIB = 1 << 10;
constexpr std::size_t BLOCKS[] = {64 * KIB, 128 * KIB, 256 * KIB, 1024 * KIB, 4096 * KIB};

}  // namespace

std::unique_ptr<ReadLoop> ReadLoop::best(const Files& files) {
  std::vector<std::unique_ptr<ReadLoop>> loops;
  for (const std::size_t block : BLOCKS) loops.push_back(std::make_unique<ReadLoop>(files, block));
  return quickest(std::move(loops));
}

std::string ReadLoop::name() const {
  return "read(2), " + std::to_string(blockBytes_ / KIB) + " KiB at a time";
}

Measurement ReadLoop::run() {
  std::vector<unsigned char> room(blockBytes_);
  Measurement result;
  const ResourceMeter meter;
  for (const std::string& path : files_) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ssize_t count = 0;
    while ((count = read(file.get(), room.data(), room.size())) > 0) {
      result.bytes += static_cast<std::uint64_t>(count);
      ++result.operations;
    }
    if (count < 0) throw systemFailure("cannot read " + path, "see the log of the system");
  }
  meter.read(result);
  return result;
}

#include "host/bench/rivals/WriteLoop.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "host/HostError.h"
#include "host/bench/ResourceMeter.h"
#include "host/system/UniqueFd.h"

namespace {

constexpr unsigned int FLUSH_SECONDS = 11;
constexpr std::uint64_t SLICE_BYTES = 128 << 20;

UniqueFd newFile(const std::string& directory, unsigned int number) {
  const std::string path = directory + "/" + std::to_string(number);
  UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
  if (file.get() < 0) throw systemFailure("cannot make " + path, "make room on the disk");
  return file;
}

void writeAll(int file, const unsigned char* bytes, size_t count) {
  while (count != 0) {
    const ssize_t put = write(file, bytes, count);
    if (put <= 0) throw systemFailure("cannot write", "make room on the disk");
    bytes += put;
    count -= static_cast<size_t>(put);
  }
}

}  // namespace

Measurement WriteLoop::run() {
  const std::string directory = place_.freshDirectory("write-loop");
  const std::vector<unsigned char> piece(std::size_t{BenchClip::BIT_RATE} / 8 * FLUSH_SECONDS,
                                         0x5A);
  Measurement result;
  const ResourceMeter meter;
  const std::uint64_t all = std::uint64_t{BenchClip::BIT_RATE} / 8 * seconds_;
  unsigned int files = 0;
  UniqueFd file = newFile(directory, files);
  std::uint64_t inFile = 0;
  while (result.bytes < all) {
    const std::uint64_t count = std::min<std::uint64_t>(piece.size(), all - result.bytes);
    writeAll(file.get(), piece.data(), count);
    result.bytes += count;
    ++result.operations;
    inFile += count;
    if (inFile < SLICE_BYTES) continue;
    file = newFile(directory, ++files);
    inFile = 0;
  }
  file = UniqueFd();
  place_.sync();
  meter.read(result);
  std::filesystem::remove_all(directory);
  return result;
}

#include "host/bench/rivals/WriteLoop.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "host/HostError.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/Quickest.h"
#include "host/system/UniqueFd.h"

namespace {

constexpr std::size_t FLUSH_BYTES = std::size_t{BenchClip::BIT_RATE} / 8 * 11;  // of 11 seconds
constexpr std::size_t FRAME_BYTES = std::size_t{BenchClip::BIT_RATE} / 8 / BenchClip::FRAME_RATE;
constexpr std::size_t SMALL_BYTES = 256 << 10;
constexpr std::size_t MIB = 1 << 20;
constexpr std::size_t DIRECT_BYTES[] = {MIB, 2 * MIB, 4 * MIB, 8 * MIB};
constexpr std::uint64_t SLICE_BYTES = 128 << 20;

void writeAll(int file, const unsigned char* bytes, size_t count) {
  while (count != 0) {
    const ssize_t put = write(file, bytes, count);
    if (put <= 0) throw systemFailure("cannot write", "make room on the disk");
    bytes += put;
    count -= static_cast<size_t>(put);
  }
}

}  // namespace

WriteLoop::WriteLoop(BenchPlace& place, Form form, unsigned int seconds,
                     std::shared_ptr<ColdBytes> source)
    : place_(place), form_(std::move(form)), seconds_(seconds), source_(std::move(source)) {
  if (!form_.collects) return;
  collected_.reserveLargePages(static_cast<unsigned int>(form_.pieceBytes));
  collected_.resize(static_cast<unsigned int>(form_.pieceBytes));
}

std::vector<std::unique_ptr<Rival>> WriteLoop::all(BenchPlace& place, unsigned int seconds) {
  const auto large = std::make_shared<ColdBytes>(ColdBytes::Pages::Large);
  std::vector<std::unique_ptr<Rival>> loops;
  const auto add = [&](const Form& form) {
    loops.push_back(std::make_unique<WriteLoop>(place, form, seconds, large));
  };
  add({"write(2), 11 s at a time", FLUSH_BYTES, false});
  add({"write(2), 256 KiB at a time", SMALL_BYTES, false});
  if (!directWorks(place.directory())) return loops;
  const auto addBest = [&](const Form& form, const std::shared_ptr<ColdBytes>& source) {
    loops.push_back(bestDirect(place, form, seconds, source));
  };
  addBest({"write(2) with O_DIRECT", 0, true},
          std::make_shared<ColdBytes>(ColdBytes::Pages::Small));
  addBest({"write(2) with O_DIRECT from large pages", 0, true}, large);
  addBest({"frames collected, then write(2) with O_DIRECT from large pages", 0, true, true}, large);
  return loops;
}

std::unique_ptr<WriteLoop> WriteLoop::bestDirect(BenchPlace& place, const Form& form,
                                                 unsigned int seconds,
                                                 const std::shared_ptr<ColdBytes>& source) {
  std::vector<std::unique_ptr<WriteLoop>> loops;
  for (const std::size_t bytes : DIRECT_BYTES) {
    Form sized = form;
    sized.name += ", " + std::to_string(bytes / MIB) + " MiB at a time";
    sized.pieceBytes = bytes;
    loops.push_back(std::make_unique<WriteLoop>(place, sized, seconds, source));
  }
  return quickest(std::move(loops));
}

bool WriteLoop::directWorks(const std::string& directory) {
  const std::string path = directory + "/direct";
  const UniqueFd file(open(path.c_str(), O_RDWR | O_CREAT | O_DIRECT | O_CLOEXEC, 0600));
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
  return static_cast<bool>(file);
}

UniqueFd WriteLoop::newFile(const std::string& directory, std::uint64_t number) const {
  const std::string path = directory + "/" + std::to_string(number);
  const int flags = O_RDWR | O_CREAT | O_CLOEXEC | (form_.direct ? O_DIRECT : 0);
  UniqueFd file(open(path.c_str(), flags, 0600));
  if (!file) throw systemFailure("cannot make " + path, "make room on the disk");
  return file;
}

const unsigned char* WriteLoop::nextPiece() {
  if (!form_.collects) return source_->next(form_.pieceBytes);
  unsigned char* const room = collected_.writable();
  for (std::size_t filled = 0; filled < form_.pieceBytes; filled += FRAME_BYTES) {
    const std::size_t count = std::min(FRAME_BYTES, form_.pieceBytes - filled);
    std::memcpy(room + filled, source_->next(count), count);
  }
  return room;
}

Measurement WriteLoop::run() {
  const std::string directory = place_.freshDirectory("write-loop");
  const std::uint64_t all = std::uint64_t{BenchClip::BIT_RATE} / 8 * seconds_;
  Measurement result;
  const ResourceMeter meter;
  UniqueFd file;
  for (std::uint64_t inFile = SLICE_BYTES; result.bytes < all; inFile += form_.pieceBytes) {
    if (inFile >= SLICE_BYTES) {
      file = newFile(directory, result.bytes / SLICE_BYTES);
      inFile = 0;
    }
    writeAll(file.get(), nextPiece(), form_.pieceBytes);
    result.bytes += form_.pieceBytes;
    ++result.operations;
  }
  file.reset();
  place_.sync();
  meter.read(result);
  std::filesystem::remove_all(directory);
  return result;
}

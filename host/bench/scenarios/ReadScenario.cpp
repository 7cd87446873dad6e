#include "host/bench/scenarios/ReadScenario.h"

#include <filesystem>

#include "host/HostError.h"
#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/ReadLoop.h"
#include "store/KTRFile.h"

namespace fs = std::filesystem;

namespace {
constexpr int SLICE_BYTES = 128 << 20;
}

std::string ReadScenario::description() const {
  return std::to_string(seconds_) + " s of 4 Mbit/s out of slices in the page cache";
}

void ReadScenario::prepare() {
  directory_ = place_.freshDirectory("read");
  write();
  bytes_ = ReadLoop(files(), ReadLoop::USUAL_BLOCK).run().bytes;  // now the cache holds them
}

void ReadScenario::write() {
  FrameClock clock;
  KTRFile file(KTString(directory_ + "/"), 0, KTRFile::WRITE_FLAGS, SLICE_BYTES);
  for (std::uint64_t i = 0; i < frames(); ++i) {
    clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
    const auto stampMs = static_cast<std::uint32_t>(i * BenchClip::FRAME_MS);
    if (file.writeKTRData(place_.clip().frame(i, stampMs)) != 0) {
      throw failure("footage to read could not be written", "make room on the disk");
    }
  }
}

std::vector<std::string> ReadScenario::files() const {
  std::vector<std::string> files;
  for (const auto& slice : fs::directory_iterator(directory_)) files.push_back(slice.path());
  return files;
}

// A frame takes less time than looking at a clock twice: single ones are not timed.
Measurement ReadScenario::run() {
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  const ResourceMeter meter;
  KTRFile file(KTString(directory_ + "/"), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  KTDataBlock frame;
  while (file.readKTRData(frame) > 0) {
    result.bytes += frame.size + KTRFile::RECORD_HEAD_SIZE;
    ++result.operations;
  }
  meter.read(result);
  result.addResident(before, ResourceMeter::residentBytes());
  result.expectEqual("frames", frames(), result.operations);
  result.expectEqual("bytes", bytes_, result.bytes);
  return result;
}

std::vector<std::unique_ptr<Rival>> ReadScenario::rivals() {
  std::vector<std::unique_ptr<Rival>> rivals;
  rivals.push_back(ReadLoop::best(files()));
  return rivals;
}

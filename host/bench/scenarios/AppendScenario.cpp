#include "host/bench/scenarios/AppendScenario.h"

#include <filesystem>

#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/WriteLoop.h"
#include "store/KTRFile.h"

namespace fs = std::filesystem;

namespace {
constexpr unsigned int HOUR = 3600;
constexpr unsigned int SHORT_SECONDS = 30;
constexpr unsigned int FRAMES_AT_HAND = 100;
constexpr int SLICE_BYTES = 128 << 20;
}  // namespace

AppendScenario::AppendScenario(BenchPlace& place)
    : place_(place), seconds_(place.size(HOUR, SHORT_SECONDS)) {}

std::string AppendScenario::description() const {
  return std::to_string(seconds_) + " s of 4 Mbit/s into slices of 128 MiB";
}

void AppendScenario::prepare() {
  for (unsigned int i = 0; i < FRAMES_AT_HAND; ++i) {
    frames_.push_back(place_.clip().frame(i, i * BenchClip::FRAME_MS));
  }
}

Measurement AppendScenario::run() {
  const std::string directory = place_.freshDirectory("append");
  Measurement result;
  const ResourceMeter meter;
  write(directory + "/", result);
  place_.sync();
  meter.read(result);
  checkFiles(directory, result);
  fs::remove_all(directory);
  return result;
}

void AppendScenario::write(const std::string& prefix, Measurement& result) const {
  FrameClock clock;
  KTRFile file(KTString(prefix), 0, KTRFile::WRITE_FLAGS, SLICE_BYTES);
  const std::uint64_t frames = std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  for (std::uint64_t i = 0; i < frames; ++i) {
    clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
    const KTDataBlock& frame = frames_[i % FRAMES_AT_HAND];
    if (file.writeKTRData(frame) != 0) result.flaws.emplace_back("a flush has failed");
    result.bytes += frame.size + KTRFile::RECORD_HEAD_SIZE;
  }
  if (file._close() != 0) result.flaws.emplace_back("the last slice could not be closed");
  result.operations = frames;
}

void AppendScenario::checkFiles(const std::string& directory, Measurement& result) const {
  std::uint64_t onDisk = 0;
  for (const fs::directory_entry& slice : fs::directory_iterator(directory)) {
    onDisk += slice.file_size();
  }
  result.expectEqual("bytes on disk", result.bytes, onDisk);
}

std::vector<std::unique_ptr<Rival>> AppendScenario::rivals() {
  std::vector<std::unique_ptr<Rival>> rivals;
  rivals.push_back(std::make_unique<WriteLoop>(place_, seconds_));
  return rivals;
}

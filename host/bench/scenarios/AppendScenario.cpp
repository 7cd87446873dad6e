#include "host/bench/scenarios/AppendScenario.h"

#include <filesystem>

#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/SegmentPrograms.h"
#include "host/bench/rivals/WriteLoop.h"
#include "store/KTRFile.h"

namespace fs = std::filesystem;

namespace {
constexpr unsigned int FRAMES_AT_HAND =
    ColdBytes::SIZE / (BenchClip::BIT_RATE / 8) * BenchClip::FRAME_RATE;
constexpr int SLICE_BYTES = 128 << 20;
}  // namespace

std::string AppendScenario::description() const {
  return std::to_string(seconds_) + " s of 4 Mbit/s into slices of 128 MiB";
}

// In large pages, as what the loops of system calls write from.
void AppendScenario::prepare() {
  const unsigned int count =
      std::min<unsigned int>(FRAMES_AT_HAND, seconds_ * BenchClip::FRAME_RATE);
  KTDataBlock all;
  all.reserveLargePages(static_cast<unsigned int>(place_.clip().bytes(count)));
  std::vector<unsigned int> sizes;
  for (unsigned int i = 0; i < count; ++i) {
    const KTDataBlock frame = place_.clip().frame(i, i * BenchClip::FRAME_MS);
    sizes.push_back(frame.size);
    all += frame;
  }
  frames_.clear();
  unsigned int begin = 0;
  for (const unsigned int size : sizes) {
    frames_.push_back(all.copy(begin, size));
    begin += size;
  }
}

Measurement AppendScenario::run() {
  const std::string directory = place_.freshDirectory("append");
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  const ResourceMeter meter;
  write(directory + "/", result);
  place_.sync();
  meter.read(result);
  result.addResident(before, ResourceMeter::residentBytes());
  checkFiles(directory, result);
  fs::remove_all(directory);
  return result;
}

void AppendScenario::write(const std::string& prefix, Measurement& result) const {
  FrameClock clock;
  KTRFile file(KTString(prefix), 0, KTRFile::WRITE_FLAGS, SLICE_BYTES);
  const std::uint64_t frames = std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  result.latencies.reserve(frames);
  for (std::uint64_t i = 0; i < frames; ++i) {
    clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
    const KTDataBlock& frame = frames_[i % frames_.size()];
    const auto begin = Latencies::Clock::now();
    if (file.writeKTRData(frame) != 0) result.flaws.emplace_back("a flush has failed");
    result.latencies.add(Latencies::Clock::now() - begin);
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
  std::vector<std::unique_ptr<Rival>> rivals = WriteLoop::all(place_, seconds_);
  for (auto& program : SegmentPrograms::of(place_, *movie_)) rivals.push_back(std::move(program));
  return rivals;
}

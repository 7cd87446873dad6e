#include "host/bench/scenarios/ExportScenario.h"

#include <filesystem>

#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/ProgramRival.h"
#include "host/play/PlayRun.h"

namespace fs = std::filesystem;

std::string ExportScenario::description() const {
  return std::to_string(recording_->seconds()) + " s out of the page cache into an .mp4 file";
}

Measurement ExportScenario::run() {
  const std::string path = place_.freshDirectory("export") + "/export.mp4";
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  const ResourceMeter meter(place_.serverPid());
  result.operations = writeTo(path);
  place_.sync();
  meter.read(result);
  result.addResident(before, ResourceMeter::residentBytes());
  result.bytes = place_.clip().bytes(recording_->frames());
  result.expectEqual("frames", recording_->frames(), result.operations);
  if (fs::file_size(path) < result.bytes / 100 * 98) {
    result.flaws.push_back("the file has " + std::to_string(fs::file_size(path)) + " bytes");
  }
  fs::remove(path);
  return result;
}

std::uint64_t ExportScenario::writeTo(const std::string& path) const {
  PlayRun::Options options;
  options.recorder = recording_->recorder();
  options.stream = BenchRecording::STREAM;
  options.at = recording_->start();
  options.seconds = recording_->seconds();
  options.output = path;
  PlayRun play(options);
  if (!play.find()) return 0;
  play.open();
  (void)play.writeAll(place_.stop());
  return play.finish().frames;
}

std::vector<std::unique_ptr<Rival>> ExportScenario::rivals() {
  std::vector<std::unique_ptr<Rival>> rivals;
  if (!ProgramRival::isInstalled("ffmpeg")) return rivals;
  const std::string movie = movie_->path();
  const auto words = [movie](const std::string& directory) -> std::vector<std::string> {
    return {
        "ffmpeg", "-nostdin", "-v", "error", "-i", movie, "-c", "copy", directory + "/export.mp4"};
  };
  rivals.push_back(std::make_unique<ProgramRival>(
      place_, ProgramRival::Work{"ffmpeg's stream copy, .mp4 to .mp4", words, movie_->bytes(),
                                 movie_->frames()}));
  return rivals;
}

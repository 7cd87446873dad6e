#include "host/bench/scenarios/IngestScenario.h"

#include <filesystem>

#include "host/bench/BenchRecording.h"
#include "host/bench/FrameClock.h"
#include "host/bench/ResourceMeter.h"
#include "host/bench/SessionFeeding.h"
#include "host/bench/rivals/SegmentPrograms.h"
#include "host/media/FrameSource.h"

std::string IngestScenario::description() const {
  return std::to_string(movie_->frames() / BenchClip::FRAME_RATE) +
         " s out of an .mp4 file into slices of 128 MiB, with their index";
}

Measurement IngestScenario::run() {
  const std::string recorder = "ingest" + std::to_string(++runs_);
  KTR_DB_handle& database = place_.recorder(recorder);
  const std::string storage = place_.storageOf(recorder);
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  const ResourceMeter meter(place_.serverPid());
  result.operations = record(recorder);
  place_.sync();
  meter.read(result);
  result.addResident(before, ResourceMeter::residentBytes());
  result.bytes = movie_->bytes();
  result.expectEqual("frames stored", movie_->frames(), result.operations);
  result.expectEqual("index rows", BenchClip::indexRows(movie_->frames()),
                     BenchPlace::rows(database, KTR_DBTable::TB_DATA_STREAMS));
  std::filesystem::remove_all(storage);
  return result;
}

// The clock goes with the movie, so that flushes and rows come when they would have come in its
// time.
std::uint64_t IngestScenario::record(const std::string& recorder) const {
  const long start = BenchRecording::noonOfYesterday();
  FrameClock clock(start);
  SessionFeeding session(place_, recorder, BenchRecording::STREAM, start);
  MediaInput input(movie_->path(), {.realtime = false});
  FrameSource source(input);
  for (KTDataBlock frame; source.next(frame);) {
    clock.moveTo(source.timeMs() - std::int64_t{start} * 1000);
    session.waitForRoom();
    if (!session.commit(frame)) break;
  }
  return session.finish();
}

std::vector<std::unique_ptr<Rival>> IngestScenario::rivals() {
  return SegmentPrograms::of(place_, *movie_);
}

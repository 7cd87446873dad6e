#include "host/bench/BenchRecording.h"

#include <filesystem>
#include <thread>

#include "host/HostError.h"
#include "host/bench/FrameClock.h"
#include "host/bench/SessionFeeding.h"
#include "host/bench/rivals/ReadLoop.h"
#include "recording/KTRVideoStreamRecordSession.h"

namespace fs = std::filesystem;

namespace {

constexpr long DAY_SECONDS = 86400;

}  // namespace

long BenchRecording::noonOfYesterday() {
  return (KTTimeValue::now().tv_sec / DAY_SECONDS - 1) * DAY_SECONDS + DAY_SECONDS / 2;
}

void BenchRecording::record() {
  if (!files_.empty()) return;
  start_ = noonOfYesterday();
  KTR_DB_handle& db = place_.recorder(recorder_);
  feed();
  db.recordSessionTable()->updateDataBase(true);
  for (const auto& entry : fs::recursive_directory_iterator(place_.storageOf(recorder_))) {
    if (entry.path().extension() == ".dat") files_.push_back(entry.path());
  }
  (void)ReadLoop(files_, ReadLoop::USUAL_BLOCK).run();
}

void BenchRecording::feed() {
  FrameClock clock(start_);
  SessionFeeding session(place_, recorder_, STREAM, start_);
  for (std::uint64_t i = 0; i < frames(); ++i) {
    clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
    session.waitForRoom();
    if (!session.commit(place_.clip().frame(i, stampOf(i)))) break;
  }
  if (session.finish() != frames()) {
    throw failure("footage to play could not be recorded", "run again with --verbose");
  }
}

std::uint32_t BenchRecording::stampOf(std::uint64_t frame) const {
  return static_cast<std::uint32_t>(start_ % DAY_SECONDS * 1000 + frame * BenchClip::FRAME_MS);
}

std::uint64_t BenchRecording::numberOf(std::uint32_t stampMs) const {
  return (stampMs - stampOf(0)) / BenchClip::FRAME_MS;
}

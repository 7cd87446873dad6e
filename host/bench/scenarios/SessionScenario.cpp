#include "host/bench/scenarios/SessionScenario.h"

#include <thread>

#include "host/bench/ResourceMeter.h"
#include "recording/KTRVideoStreamRecordSession.h"

namespace {

constexpr unsigned int SESSIONS = 250;
constexpr unsigned int SHORT_SESSIONS = 5;
constexpr int SLICE_BYTES = 128 << 20;
constexpr std::int64_t DAY_SECONDS = 86400;

}  // namespace

struct SessionScenario::Times {
  Latencies construction;
  Latencies opening;
  Latencies ending;
  std::uint64_t opened = 0;
};

SessionScenario::SessionScenario(BenchPlace& place)
    : place_(place), sessions_(place.size(SESSIONS, SHORT_SESSIONS)) {}

std::string SessionScenario::description() const {
  return std::to_string(sessions_) +
         " streams of one key frame, from that frame to the open "
         "session";
}

void SessionScenario::prepare() {
  (void)place_.clip();
}

Measurement SessionScenario::run() {
  const std::string recorder = "sessions" + std::to_string(++runs_);
  KTR_DB_handle& database = place_.recorder(recorder);
  KTRStreamRecordParams params;
  params.dbName = recorder.c_str();
  params.videoSettings =
      KTRVideoSettingsRow("bench", BenchClip::FRAME_RATE, 0, "h264", "640x360", "");
  params.sliceSize = SLICE_BYTES;
  params.storageDir = KTString(place_.storageOf(recorder));
  Measurement result;
  Times times;
  const ResourceMeter meter(place_.serverPid());
  for (unsigned int i = 0; i < sessions_; ++i) {
    params.streamId = static_cast<int>(i);
    recordOnce(params, times);
  }
  meter.read(result);
  result.latencies = times.opening;
  result.figures = {{"us to make a session, p50", times.construction.p50()},
                    {"us from stop to closed file, p50", times.ending.p50()},
                    {"us from stop to closed file, p99", times.ending.p99()},
                    {"us from stop to closed file, max", times.ending.max()}};
  result.operations = times.opened;
  result.expectEqual("sessions opened", sessions_, times.opened);
  result.expectEqual("record sessions", sessions_,
                     BenchPlace::rows(database, KTR_DBTable::TB_RECORD_SESSIONS));
  result.expectEqual("index rows", sessions_ * BenchClip::indexRows(1),
                     BenchPlace::rows(database, KTR_DBTable::TB_DATA_STREAMS));
  return result;
}

// The wait is a busy one: a pause would be measured with it.
void SessionScenario::recordOnce(const KTRStreamRecordParams& params, Times& times) const {
  const std::int64_t now = KTTimeValue::now().tv_sec;
  const KTDataBlock frame =
      place_.clip().frame(0, static_cast<std::uint32_t>(now % DAY_SECONDS) * 1000);
  const auto beginning = Latencies::Clock::now();
  auto session = std::make_unique<KTRVideoStreamRecordSession>(params);
  const auto made = Latencies::Clock::now();
  session->setServerTime(now, now);
  (void)session->commit(frame, KTRMessageType::FrameData, KTMessage::NormalPriority);
  while (session->progress().frames == 0 && session->alive()) std::this_thread::yield();
  const auto opened = Latencies::Clock::now();
  if (session->progress().sessionId != 0) ++times.opened;
  const auto stopping = Latencies::Clock::now();
  (void)session->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  while (session->alive()) std::this_thread::yield();
  session.reset();
  times.ending.add(Latencies::Clock::now() - stopping);
  times.construction.add(made - beginning);
  times.opening.add(opened - made);
}

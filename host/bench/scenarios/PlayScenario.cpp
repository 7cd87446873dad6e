#include "host/bench/scenarios/PlayScenario.h"

#include "host/bench/ResourceMeter.h"
#include "host/bench/rivals/ReadLoop.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "runtime/KTRVideoFrame.h"
#include "store/KTRFile.h"

std::string PlayScenario::description() const {
  return "load and all frames of " + std::to_string(recording_->seconds()) +
         " s out of the page cache";
}

Measurement PlayScenario::run() {
  const std::uint64_t before = ResourceMeter::residentBytes();
  Measurement result;
  result.latencies.reserve(recording_->frames());
  const ResourceMeter meter(recording_->serverPid());
  KTRVideoStreamReadSession session(KTString(recording_->recorder()), 0);
  if (load(session)) {
    play(session, result);
  } else {
    result.flaws.emplace_back("the recording cannot be loaded");
  }
  meter.read(result);
  result.addResident(before, ResourceMeter::residentBytes());
  return result;
}

bool PlayScenario::load(KTRVideoStreamReadSession& session) const {
  KTRStreamReadSession::Parameters params;
  params["streamid"] = KTString(std::to_string(BenchRecording::STREAM));
  params["starttime"] = KTString(std::to_string(recording_->start()));
  return session.load(params) != 0;
}

// A load goes to the last key frame of the few seconds behind the wanted one: what lies before that
// is not played.
void PlayScenario::play(KTRVideoStreamReadSession& session, Measurement& result) const {
  const auto skipped =
      static_cast<std::uint64_t>(session.startTime() - recording_->start()) * BenchClip::FRAME_RATE;
  std::uint64_t next = skipped;
  std::uint64_t displaced = 0;
  KTRVideoFrame parser;
  KTDataBlock frame;
  unsigned int unused = 0;
  for (auto begin = Latencies::Clock::now(); session.getFrame(frame, unused) != 0;
       begin = Latencies::Clock::now()) {
    result.latencies.add(Latencies::Clock::now() - begin);
    result.bytes += frame.size + KTRFile::RECORD_HEAD_SIZE;
    ++result.operations;
    if (!parser.parse(frame) || recording_->numberOf(parser.timeStamp()) != next++) ++displaced;
  }
  result.expectEqual("frames", recording_->frames() - skipped, result.operations);
  result.expectEqual("frames out of their order", 0, displaced);
}

std::vector<std::unique_ptr<Rival>> PlayScenario::rivals() {
  std::vector<std::unique_ptr<Rival>> rivals;
  rivals.push_back(ReadLoop::best(recording_->files()));
  return rivals;
}

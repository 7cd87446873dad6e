#include "tests/load/LoadRecording.h"

#include <algorithm>
#include <chrono>

#include "runtime/KTTimeValue.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr long DAY_SECONDS = 86400;
constexpr int SLICE_SIZE = 1;  // every flush ends a slice, so that there is much to delete

KTDataBlock timeMessage(long gatewayTime, long serverTime) {
  KTDataBlock message(8);
  storeLittleEndian(message.writable(), static_cast<std::uint32_t>(gatewayTime));
  storeLittleEndian(message.writable() + 4, static_cast<std::uint32_t>(serverTime));
  return message;
}

}  // namespace

LoadRecording::LoadRecording(const LoadClip& clip, const std::string& directory,
                             unsigned int streams)
    : clip_(clip),
      start_(KTTimeValue::now().tv_sec / DAY_SECONDS * DAY_SECONDS + LoadClip::SECOND_OF_DAY),
      sent_(streams) {
  KTRStreamRecordParams params;
  params.dbName = "load";
  params.videoSettings = KTRVideoSettingsRow("clip", 25, 0, "h264", "320x240", "");
  params.sliceSize = SLICE_SIZE;
  params.storageDir = KTString(directory);
  for (unsigned int i = 0; i < streams; ++i) {
    params.streamId = static_cast<int>(i);
    sessions_.push_back(std::make_unique<KTRVideoStreamRecordSession>(params));
    (void)sessions_.back()->commit(timeMessage(start_, KTTimeValue::now().tv_sec),
                                   KTRMessageType::Time, KTMessage::NormalPriority);
  }
  feeder_ = std::thread([this] { feed(); });
}

LoadRecording::~LoadRecording() {
  stop();
}

void LoadRecording::feed() {
  const auto begin = std::chrono::steady_clock::now();
  for (unsigned int tick = 0; !stop_; ++tick) {
    std::this_thread::sleep_until(begin + tick * std::chrono::milliseconds(LoadClip::FRAME_MS));
    feedAll(tick);
  }
}

// Cameras begin one after the other, so that their key frames do not come all at once.
void LoadRecording::feedAll(unsigned int tick) {
  for (unsigned int stream = 0; stream < sessions_.size(); ++stream) {
    if (tick < stream % LoadClip::FRAME_RATE) continue;
    KTRVideoStreamRecordSession& session = *sessions_[stream];
    const unsigned int number = sent_[stream]++;
    if (session.commit(clip_.frame(stream, number), KTRMessageType::FrameData,
                       KTMessage::NormalPriority) != 0 &&
        flaws_.size() < 10) {
      flaws_.push_back("stream " + std::to_string(stream) + " did not take frame " +
                       std::to_string(number));
    }
    longestQueue_ = std::max(longestQueue_, session.queueLength());
  }
}

void LoadRecording::stop() {
  if (!feeder_.joinable()) return;
  stop_ = true;
  feeder_.join();
  for (const auto& session : sessions_) {
    (void)session->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  }
  for (unsigned int stream = 0; stream < sessions_.size(); ++stream) {
    sessions_[stream]->wait();
    const auto stored = sessions_[stream]->progress().frames;
    if (stored != sent_[stream]) {
      flaws_.push_back("stream " + std::to_string(stream) + " stored " + std::to_string(stored) +
                       " of " + std::to_string(sent_[stream]) + " frames");
    }
  }
  sessions_.clear();
}

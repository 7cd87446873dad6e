#include "host/bench/SessionFeeding.h"

#include <chrono>
#include <thread>

#include "runtime/LittleEndian.h"

namespace {

constexpr int SLICE_BYTES = 128 << 20;
constexpr unsigned int SHORT_QUEUE = 16;
static_assert(SHORT_QUEUE > KTRTask::REST_MESSAGES, "a full queue would rest");
constexpr std::chrono::microseconds LOOK_AGAIN{100};  // a session takes several frames meanwhile

KTRStreamRecordParams paramsOf(const std::string& recorder, unsigned char stream,
                               const std::string& storage) {
  KTRStreamRecordParams params;
  params.dbName = KTString(recorder);
  params.videoSettings = KTRVideoSettingsRow("bench", BenchClip::FRAME_RATE, 0, "h264", "640x360",
                                             KTString::EmptyString);
  params.sliceSize = SLICE_BYTES;
  params.storageDir = KTString(storage);
  params.streamId = stream;
  return params;
}

KTDataBlock timeMessage(long gatewayTime) {
  KTDataBlock message(8);
  unsigned char* const bytes = message.writable();
  storeLittleEndian(bytes, static_cast<std::uint32_t>(gatewayTime));
  storeLittleEndian(bytes + 4, static_cast<std::uint32_t>(gatewayTime));
  return message;
}

}  // namespace

SessionFeeding::SessionFeeding(BenchPlace& place, const std::string& recorder, unsigned char stream,
                               long gatewayTime)
    : session_(std::make_unique<KTRVideoStreamRecordSession>(
          paramsOf(recorder, stream, place.storageOf(recorder)))) {
  (void)session_->commit(timeMessage(gatewayTime), KTRMessageType::Time, KTMessage::NormalPriority);
}

void SessionFeeding::waitForRoom() const {
  while (session_->queueLength() >= SHORT_QUEUE && session_->alive()) {
    std::this_thread::sleep_for(LOOK_AGAIN);
  }
}

bool SessionFeeding::commit(const KTDataBlock& frame) {
  return session_->commit(frame, KTRMessageType::FrameData, KTMessage::NormalPriority) == 0;
}

std::uint64_t SessionFeeding::finish() {
  (void)session_->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  session_->wait();
  const std::uint64_t stored = session_->progress().frames;
  session_.reset();  // closes the data file, which writes what it still holds
  return stored;
}

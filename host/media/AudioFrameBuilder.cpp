#include "host/media/AudioFrameBuilder.h"

#include <cstdlib>

#include "host/media/AudioFormat.h"
#include "host/media/FrameStamper.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

void AudioFrameBuilder::add(const AudioPacket& packet) {
  if (packet.bytes.size == 0 || packet.bytes.size > MAX_PACKET_SIZE || packet.timeUs < 0 ||
      packet.durationUs < 0 || packet.durationUs > AudioFormat::MAX_SPAN_US) {
    return;
  }
  const std::int64_t gapUs = packet.timeUs - endUs_;
  if (started_ && gapUs < -MAX_GAP_US && gapUs >= -MAX_BACK_US) return;
  if (std::llabs(gapUs) > MAX_GAP_US || payload_.size > MAX_PAYLOAD_SIZE) flush();
  if (payload_.size == 0) begin(packet.timeUs);
  unsigned char head[AudioFormat::PACKET_HEAD_SIZE];
  storeLittleEndian(head + AudioFormat::OFFSET_OFFSET,
                    static_cast<std::uint32_t>(packet.timeUs - stampMs_ * 1000));
  storeLittleEndian(head + AudioFormat::DURATION_OFFSET,
                    static_cast<std::uint32_t>(packet.durationUs));
  storeLittleEndian(head + AudioFormat::SIZE_OFFSET, packet.bytes.size);
  payload_ += KTDataBlock(head, sizeof(head));
  payload_ += packet.bytes;
  endUs_ = packet.endUs();
  started_ = true;
  if (endUs_ - startUs_ >= TARGET_US) flush();
}

void AudioFrameBuilder::begin(std::int64_t timeUs) {
  payload_ = KTDataBlock(&AudioFormat::PACKETS_MARK, 1);
  startUs_ = timeUs;
  stampMs_ = timeUs / 1000;
}

void AudioFrameBuilder::flush() {
  if (payload_.size == 0) return;
  frames_.push_back(
      {KTRFrameWriter::build(KTRFrameFormat::Audio,
                             static_cast<std::uint32_t>(stampMs_ % FrameStamper::DAY_MS),
                             {{payload_.data, payload_.size}}),
       stampMs_});
  payload_ = KTDataBlock();
}

void AudioFrameBuilder::restart() {
  flush();
  started_ = false;
}

bool AudioFrameBuilder::take(KTDataBlock& frame) {
  if (frames_.empty()) return false;
  frame = frames_.front().bytes;
  takenMs_ = frames_.front().timeMs;
  frames_.pop_front();
  return true;
}

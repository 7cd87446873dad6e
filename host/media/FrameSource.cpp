#include "host/media/FrameSource.h"

#include "host/media/MediaError.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"

namespace {

KTRFrameWriter::Piece pieceOf(MediaBytes bytes) {
  return {bytes.data(), static_cast<unsigned int>(bytes.size())};
}

}  // namespace

bool FrameSource::next(KTDataBlock& frame) {
  while (ready_.empty()) {
    if (readOn()) continue;
    takeAudio();
    audio_.flush();
    takeAudio();
    if (!ready_.empty()) break;
    if (flaw_ != nullptr) std::rethrow_exception(flaw_);
    return false;
  }
  frame = ready_.front().frame;
  timeMs_ = ready_.front().timeMs;
  ready_.pop_front();
  return true;
}

// Reads the next picture and the sound beside it; false at the end of the input. What was read
// before a failure is good.
bool FrameSource::readOn() try {
  AccessUnit unit;
  if (flaw_ != nullptr || !input_.read(unit)) return false;
  if (unit.jumped) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ FrameSource ] %s: the clock of the source jumped",
                              input_.name().c_str());
  }
  const bool first = !stamper_.started();
  const KTDataBlock built = frameOf(unit);
  if (built.size != 0) ready_.push_back({built, stamper_.timeMs()});
  if (first) startUs_ = unit.dtsUs;
  takeAudio();
  return true;
} catch (const MediaError&) {
  flaw_ = std::current_exception();
  return false;
}

void FrameSource::takeAudio() {
  for (AudioPacket& packet : input_.takeAudio()) {
    if (!stamper_.started() || packet.timeUs < startUs_) continue;
    packet.timeUs = stamper_.clockUs(packet.timeUs);
    audio_.add(packet);
  }
  for (KTDataBlock frame; audio_.take(frame);) ready_.push_back({frame, audio_.timeMs()});
}

KTDataBlock FrameSource::frameOf(const AccessUnit& unit) {
  if (needsKey_ && !unit.key) {
    if (started_) ++dropped_;
    return KTDataBlock();
  }
  const std::uint32_t stampMs = stamper_.stamp(unit.dtsMs(), unit.key);
  if (stamper_.wentBack()) audio_.restart();
  KTDataBlock frame = KTRFrameWriter::build(
      kindOf(unit), stampMs, {pieceOf(unit.lead), pieceOf(unit.parameterSets), pieceOf(unit.bytes)},
      unit.compositionOffsetMs());
  started_ = true;
  needsKey_ = frame.size == 0;
  if (!needsKey_) {
    warned_ = false;
    return frame;
  }
  ++dropped_;
  if (!warned_) warnOfSize(unit);
  warned_ = true;
  return frame;
}

KTRFrameFormat::Kind FrameSource::kindOf(const AccessUnit& unit) const {
  if (input_.info().codec == MediaCodec::Mjpeg) return KTRFrameFormat::Jpeg;
  return unit.key ? KTRFrameFormat::Key : KTRFrameFormat::Delta;
}

void FrameSource::warnOfSize(const AccessUnit& unit) const {
  KTLogger::instance()->log(
      KTLogger::Warning,
      "[ FrameSource ] %s: a picture of %zu bytes was dropped, a frame holds at most %u: lower the "
      "bit rate or the picture size of the source",
      input_.name().c_str(), unit.size(),
      KTRFrameFormat::MAX_FRAME_SIZE - KTRFrameFormat::HEAD_SIZE);
}

#include "host/media/FrameSource.h"

#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"

namespace {

KTRFrameWriter::Piece pieceOf(MediaBytes bytes) {
  return {bytes.data(), static_cast<unsigned int>(bytes.size())};
}

}  // namespace

bool FrameSource::next(KTDataBlock& frame) {
  AccessUnit unit;
  while (input_.read(unit)) {
    if (unit.jumped) {
      KTLogger::instance()->log(KTLogger::Warning,
                                "[ FrameSource ] %s: the clock of the source jumped",
                                input_.name().c_str());
    }
    KTDataBlock built = frameOf(unit);
    if (built.size == 0) continue;
    frame = built;
    return true;
  }
  return false;
}

KTDataBlock FrameSource::frameOf(const AccessUnit& unit) {
  if (needsKey_ && !unit.key) {
    if (started_) ++dropped_;
    return KTDataBlock();
  }
  const std::uint32_t stampMs = stamper_.stamp(unit.dtsMs(), unit.key);
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

#include "host/check/RowMaker.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int64_t JPEG_ROW_MS = 3001;
constexpr unsigned int AUDIO_INTERVAL_USEC = 100000;

}  // namespace

bool RowMaker::needsRow(const SessionWalk::Frame& frame, bool hasRow) {
  ++frames_;
  if (!frame.record.startsPlayback() || frame.strayStamp) return false;
  if (!hasRow) {
    if (lastSecond_ == frame.seconds()) return false;
    const bool isJpeg = frame.record.kind == KTRFrameFormat::Jpeg;
    // A recording compares stamps with 0 before its first row.
    const int64_t before = lastMs_ ? *lastMs_ : frame.timeMs - frame.record.stampMs;
    if (isJpeg && std::llabs(frame.timeMs - before) < JPEG_ROW_MS) return false;
  }
  noteDelay(frame);
  lastSecond_ = frame.seconds();
  lastMs_ = frame.timeMs;
  return true;
}

// Divided by the frames since the session began, as a recording does.
void RowMaker::noteDelay(const SessionWalk::Frame& frame) {
  if (frame.record.kind == KTRFrameFormat::Audio) {
    delayUsec_ = AUDIO_INTERVAL_USEC;
  } else if (!lastMs_ || frame.timeMs <= *lastMs_) {
    delayUsec_ = firstInterval_;
  } else {
    delayUsec_ =
        static_cast<unsigned int>((frame.timeMs - *lastMs_) / static_cast<int64_t>(frames_) * 1000);
  }
}

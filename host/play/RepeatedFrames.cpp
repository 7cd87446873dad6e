#include "host/play/RepeatedFrames.h"

#include "host/media/FrameHash.h"

RepeatedFrames::Identity RepeatedFrames::identityOf(std::int64_t timeMs, const KTDataBlock& frame) {
  return {timeMs, frameHash(frame)};
}

void RepeatedFrames::note(std::int64_t timeMs, const KTDataBlock& frame, bool startsPlayback) {
  if (startsPlayback) group_.clear();
  group_.push_back(identityOf(timeMs, frame));
}

bool RepeatedFrames::has(std::int64_t timeMs, const KTDataBlock& frame) {
  if (next_ >= group_.size() || !(group_[next_] == identityOf(timeMs, frame))) {
    next_ = group_.size();
    return false;
  }
  ++next_;
  return true;
}

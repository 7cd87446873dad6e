#include "host/play/RepeatedFrames.h"

void RepeatedFrames::note(std::int64_t timeMs, const KTDataBlock& frame, bool startsPlayback) {
  if (startsPlayback) group_.clear();
  group_.push_back({timeMs, frame});
}

bool RepeatedFrames::has(std::int64_t timeMs, const KTDataBlock& frame) {
  if (next_ >= group_.size() || group_[next_].timeMs != timeMs || group_[next_].frame != frame) {
    next_ = group_.size();
    return false;
  }
  ++next_;
  return true;
}

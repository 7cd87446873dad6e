#include "host/check/SessionWalk.h"

#include <cstdlib>

namespace {

constexpr int64_t STRAY_MS = 10'000;
constexpr size_t LOOK_AHEAD = 3;

bool areClose(int64_t a, int64_t b) {
  return std::llabs(a - b) <= STRAY_MS;
}

}  // namespace

SessionWalk::SessionWalk(const SessionFiles& files, long startSeconds) : files_(files) {
  clock_.restart(startSeconds);
}

SessionWalk::Slice SessionWalk::walk(unsigned int slice, const Take& take, uint64_t from) {
  Slice result;
  SliceScanner scanner(files_.slicePath(slice), from);
  result.size = scanner.file().size();
  for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
    if (item != SliceScanner::Record) {
      result.damages.push_back({item, scanner.range()});
      continue;
    }
    ++result.frames;
    ahead_.push_back({slice, scanner.record(), clock_.unwrap(scanner.record().stampMs)});
    if (ahead_.size() == LOOK_AHEAD) decide(&ahead_[1], &ahead_[2], take);
  }
  while (!ahead_.empty()) decide(ahead_.size() > 1 ? &ahead_[1] : nullptr, nullptr, take);
  result.error = scanner.file().error();
  return result;
}

void SessionWalk::decide(const Frame* next, const Frame* afterNext, const Take& take) {
  Frame& frame = ahead_.front();
  if (next != nullptr && !areClose(frame.timeMs, next->timeMs)) {
    frame.strayStamp = lastMs_
                           ? !areClose(frame.timeMs, *lastMs_) && areClose(*lastMs_, next->timeMs)
                           : afterNext != nullptr && areClose(next->timeMs, afterNext->timeMs);
  }
  if (!frame.strayStamp) lastMs_ = frame.timeMs;
  take(frame);
  ahead_.erase(ahead_.begin());
}

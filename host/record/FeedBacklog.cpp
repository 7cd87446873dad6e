#include "host/record/FeedBacklog.h"

#include <algorithm>
#include <cerrno>
#include <numeric>
#include <system_error>
#include <utility>

#include "runtime/KTLogger.h"
#include "store/KTRFile.h"

namespace {

constexpr const char* SESSION_ENDED = "the record session has ended";
constexpr const char* NO_ROOM = "there is no room for what waits";
constexpr const char* DAMAGED = "what waited in the spool is damaged";

std::uint64_t bytesFrom(const std::deque<StreamFrame>& frames, size_t from, size_t to) {
  std::uint64_t bytes = 0;
  for (size_t i = from; i < to; ++i) bytes += frames[i].bytes.size;
  return bytes;
}

}  // namespace

void FeedBacklog::push(const StreamFrame& arriving) {
  lastNeedsStart_ = lastNeedsStart_ && !arriving.startsPlayback;
  if (lastNeedsStart_) return lose(1, NO_ROOM);
  StreamFrame frame = arriving;
  frame.arrived = KTClock::instance()->elapsed();
  const bool isNext = last_.empty() && spool_.empty();
  if (isNext && (waitBytes_ < SHARE_IN_HAND || !spool_.stores())) {
    addInHand(frame);
  } else {
    last_.push_back(frame);
    lastBytes_ += frame.bytes.size;
    spill();
  }
  bound();
  spoolOverdue();
}

// Where in hand the first frame is that is not among so many of those that the session was given.
size_t FeedBacklog::inHandOf(std::uint64_t ofGiven) const {
  return std::max(done_, ofGiven > passed_ ? static_cast<size_t>(ofGiven - passed_) : 0);
}

// Frames of which the spool has a copy come first in hand.
size_t FeedBacklog::firstInMemory() const {
  const auto first =
      std::partition_point(inHand_.begin(), inHand_.end(),
                           [](const StreamFrame& frame) { return frame.spoolPlace != 0; });
  return static_cast<size_t>(first - inHand_.begin());
}

bool FeedBacklog::isOverdue() const {
  const size_t from = firstInMemory();
  const size_t unstored = std::max(from, inHandOf(stored_));
  if (unstored >= inHand_.size()) return false;
  const KTClock::Span now = KTClock::instance()->elapsed();
  const StreamFrame& oldest = inHand_[std::max(from, inHandOf(settled_))];
  return now - inHand_[unstored].arrived >= STALL && now - oldest.arrived >= LONGEST_IN_MEMORY;
}

void FeedBacklog::spoolOverdue() {
  if (spool_.stores() && isOverdue()) spill();
}

void FeedBacklog::addInHand(const StreamFrame& frame) {
  handNeedsStart_ = handNeedsStart_ && !frame.startsPlayback;
  if (handNeedsStart_) return lose(1, SESSION_ENDED);
  inHand_.push_back(frame);
  handBytes_ += frame.bytes.size;
  waitBytes_ += frame.bytes.size;
}

// The beginning of the group of pictures that a frame in hand belongs to.
std::optional<size_t> FeedBacklog::groupOf(size_t index) const {
  for (size_t i = std::min(index + 1, inHand_.size()); i-- > 0;) {
    if (inHand_[i].startsPlayback) return i;
  }
  return std::nullopt;
}

void FeedBacklog::popInHand(size_t n) {
  std::uint64_t place = 0;
  for (size_t i = 0; i < n; ++i) {
    handBytes_ -= inHand_.front().bytes.size;
    if (inHand_.front().spoolPlace != 0) place = inHand_.front().spoolPlace;
    inHand_.pop_front();
  }
  if (place != 0) spool_.settle(place);
}

void FeedBacklog::recount() {
  waitBytes_ = bytesFrom(inHand_, firstWaiting(), inHand_.size());
}

std::optional<std::uint64_t> FeedBacklog::begin() {
  refill();
  while (done_ < inHand_.size()) {
    const std::optional<size_t> start = groupOf(done_);
    if (start) {
      repeated_ = done_ - *start;
      popInHand(*start);
      flushIsDue_ = true;
      done_ = 0;
      passed_ = 0;
      stored_ = 0;
      settled_ = repeated_;
      recount();
      return repeated_;
    }
    dropGroup(inHand_, done_, SESSION_ENDED);
    refill();
  }
  return std::nullopt;
}

const StreamFrame* FeedBacklog::next() {
  refill();
  return given_ < inHand_.size() ? &inHand_[given_] : nullptr;
}

void FeedBacklog::given() {
  waitBytes_ -= inHand_[given_].bytes.size;
  ++given_;
  if (waiting() == 0) losing_ = false;
}

void FeedBacklog::settle(std::uint64_t ofGiven) {
  settled_ = std::max(settled_, ofGiven);
  if (ofGiven <= passed_) return;
  const size_t before = inHand_.size();
  trim(ofGiven - passed_);
  const size_t popped = before - inHand_.size();
  passed_ += popped;
  given_ -= popped;
  tellCaughtUp();
}

// Lets go of the first frames, of which so many are recorded, but for the group of pictures that
// the next one needs.
void FeedBacklog::trim(size_t recorded) {
  recorded = std::min(recorded, inHand_.size());
  const size_t start = inHand_.empty() ? 0 : groupOf(recorded).value_or(recorded);
  const bool isTooLarge = bytesFrom(inHand_, start, recorded) > LARGEST_GROUP;
  popInHand(isTooLarge ? recorded : std::min(start, recorded));
}

FeedBacklog::Recorded FeedBacklog::end(std::uint64_t ofGiven, std::uint64_t missingBytes) {
  size_t recorded = ofGiven > passed_ ? ofGiven - passed_ : 0;
  recorded = std::min(recorded, given_);
  while (missingBytes != 0 && recorded != 0) {
    const std::uint64_t size = inHand_[--recorded].bytes.size + KTRFile::RECORD_HEAD_SIZE;
    missingBytes -= std::min(missingBytes, size);
  }
  const Recorded result{passed_ + recorded, recorded == 0 ? 0 : inHand_[recorded - 1].timeMs};
  // What an earlier session has stays recorded, even if this one did not get so far.
  if (repeated_ > passed_) recorded = std::max<size_t>(recorded, repeated_ - passed_);
  given_ = 0;
  passed_ = stored_ = settled_ = 0;
  const size_t before = inHand_.size();
  trim(recorded);
  done_ = recorded - (before - inHand_.size());
  recount();
  tellCaughtUp();
  return result;
}

std::uint64_t FeedBacklog::bytesOfFirst(size_t frames) const {
  return bytesFrom(inHand_, 0, std::min(frames, inHand_.size()));
}

void FeedBacklog::refill() {
  while (waitBytes_ < SHARE_IN_HAND / 2 && !(spool_.empty() && last_.empty())) {
    StreamFrame frame;
    if (!spool_.empty() && !mayReadSpool()) return;
    const bool isSpooled = spool_.take(frame);
    if (const std::uint64_t damaged = spool_.takeDropped()) lose(damaged, DAMAGED);
    if (isSpooled) {
      takeFromSpool(frame);
    } else if (!last_.empty()) {
      lastBytes_ -= last_.front().bytes.size;
      addInHand(last_.front());
      last_.pop_front();
    }
  }
}

void FeedBacklog::takeFromSpool(const StreamFrame& frame) {
  const bool isStored = isStored_ && isStored_(frame);
  if (!spool_.hasLeftover()) isStored_ = nullptr;
  if (!isStored) return addInHand(frame);
  if (given_ != 0 || passed_ != 0 || done_ != inHand_.size()) return;
  inHand_.push_back(frame);
  handBytes_ += frame.bytes.size;
  const size_t before = inHand_.size();
  trim(before);
  done_ = inHand_.size();
}

void FeedBacklog::spill() {
  if (!spool_.stores()) return;
  if (spoolIsFaulty_ && KTClock::instance()->elapsed() < spoolRetry_) return;
  if (!spoolHand(SpoolSegment::Context)) return spoolFailed();
  while (!last_.empty()) {
    if (spool_.append(last_.front()) == FrameSpool::Refused) return spoolFailed();
    lastBytes_ -= last_.front().bytes.size;
    last_.pop_front();
  }
  spoolIsFaulty_ = false;
  if (const std::uint64_t dropped = spool_.takeDropped()) lose(dropped, NO_ROOM);
  if (std::exchange(spooling_, true)) return;
  KTLogger::instance()->log(KTLogger::Warning,
                            "stream %d: frames wait for the database or the disk in %s", streamId_,
                            spool_.directory().c_str());
}

// Copies what is in memory alone, with the group of pictures that it needs. The spool holds nothing
// behind these frames yet: while it does, none is added in hand but what comes out of it.
bool FeedBacklog::spoolHand(SpoolSegment::Use waiting) {
  for (size_t i = firstInMemory(); i < inHand_.size(); ++i) {
    StreamFrame& frame = inHand_[i];
    const SpoolSegment::Use use = i < done_ ? SpoolSegment::Context : waiting;
    if (spool_.append(frame, use) == FrameSpool::Refused) return false;
    frame.spoolPlace = spool_.end();
  }
  return true;
}

void FeedBacklog::spoolFailed() {
  spoolRetry_ = KTClock::instance()->elapsed() + SPOOL_PAUSE;
  if (std::exchange(spoolIsFaulty_, true)) return;
  KTLogger::instance()->log(
      KTLogger::Warning, "stream %d: cannot write to %s (%s): frames wait in memory", streamId_,
      spool_.directory().c_str(), std::generic_category().message(errno).c_str());
}

void FeedBacklog::bound() {
  while (waitBytes_ + lastBytes_ > LARGEST_WAIT) dropOldestGroup();
}

// What is left of a group whose beginning is on its way stays, as long as there is another one.
void FeedBacklog::dropOldestGroup() {
  std::deque<StreamFrame>& from = last_.empty() ? inHand_ : last_;
  const size_t waiting = last_.empty() ? firstWaiting() : 0;
  size_t first = waiting;
  while (first < from.size() && !from[first].startsPlayback) ++first;
  dropGroup(from, first == from.size() ? waiting : first, NO_ROOM);
}

// Drops a frame and all behind it up to a key frame.
void FeedBacklog::dropGroup(std::deque<StreamFrame>& from, size_t first, const char* reason) {
  const auto begin = from.begin() + static_cast<std::ptrdiff_t>(first);
  const auto end = std::find_if(begin + 1, from.end(),
                                [](const StreamFrame& frame) { return frame.startsPlayback; });
  const bool inHand = &from == &inHand_;
  if (end == from.end()) (inHand ? handNeedsStart_ : lastNeedsStart_) = true;
  const auto dropped = static_cast<std::uint64_t>(end - begin);
  from.erase(begin, end);
  if (inHand) {
    handBytes_ = bytesFrom(from, 0, from.size());
    recount();
  } else {
    lastBytes_ = bytesFrom(from, 0, from.size());
  }
  lose(dropped, reason);
}

void FeedBacklog::lose(std::uint64_t frames, const char* reason) {
  lost_ += frames;
  if (std::exchange(losing_, true)) return;
  KTLogger::instance()->log(KTLogger::Warning, "stream %d: %s: frames are lost up to a key frame",
                            streamId_, reason);
}

// When all that was copied is on disk.
void FeedBacklog::tellCaughtUp() {
  const bool waits = !spool_.empty() || !last_.empty() || firstInMemory() > inHandOf(settled_);
  if (!spooling_ || waits) return;
  spooling_ = false;
  KTLogger::instance()->log(KTLogger::Warning, "stream %d: what waited in %s is recorded",
                            streamId_, spool_.directory().c_str());
}

std::uint64_t FeedBacklog::waiting() const {
  return left_ + inHand_.size() - firstWaiting() + spool_.frames() + last_.size();
}

void FeedBacklog::leave() {
  if (waiting() == 0) {
    popInHand(inHand_.size());
    done_ = 0;
    return spool_.finish();
  }
  const size_t waits = firstWaiting();
  left_ = std::max(firstInMemory(), waits) - waits;
  if (!spoolHand(SpoolSegment::Record)) {
    lose(inHand_.size() - std::max(firstInMemory(), waits), NO_ROOM);
  }
  while (!last_.empty() && spool_.append(last_.front()) == FrameSpool::Stored) last_.pop_front();
  if (const std::uint64_t dropped = spool_.takeDropped()) lose(dropped, NO_ROOM);
  if (!last_.empty()) lose(last_.size(), NO_ROOM);
  inHand_.clear();
  last_.clear();
  handBytes_ = waitBytes_ = lastBytes_ = 0;
  done_ = 0;
  if (waiting() == 0) return;
  KTLogger::instance()->log(KTLogger::Warning,
                            "stream %d: frames that could not be recorded stay in %s: the next "
                            "recording of this recorder takes them",
                            streamId_, spool_.directory().c_str());
}

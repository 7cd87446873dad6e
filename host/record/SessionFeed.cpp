#include "host/record/SessionFeed.h"

#include <algorithm>
#include <chrono>

#include "host/record/SessionRows.h"
#include "host/record/StoredFrames.h"
#include "host/system/MysqlThread.h"
#include "runtime/KTLogger.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr KTClock::Span FIRST_PAUSE = seconds(1);
constexpr KTClock::Span LONGEST_PAUSE = seconds(30);
constexpr milliseconds BUSY_LOOK(1);
constexpr milliseconds WAITING_LOOK(10);
constexpr milliseconds IDLE_LOOK(50);
constexpr KTClock::Span SIGHT_INTERVAL = seconds(1);

std::int64_t serverMs() {
  const KTTimeValue now = KTTimeValue::now();
  return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

}  // namespace

SessionFeed::SessionFeed(const Options& options)
    : options_(options),
      backlog_(options.params.streamId, options.spoolDirectory, options.spoolBytes) {
  if (options.events != nullptr) window_.emplace(*options.events, options.params);
  thread_ = std::thread([this] { run(); });
}

SessionFeed::~SessionFeed() {
  finish();
}

void SessionFeed::use(const StreamSettings& settings) {
  const std::lock_guard guard(mutex_);
  if (settings_ == nullptr || !(*settings_ == settings)) {
    settings_ = std::make_shared<const StreamSettings>(settings);
  }
}

void SessionFeed::feed(const KTDataBlock& frame, bool startsPlayback, std::int64_t timeMs) {
  const std::lock_guard guard(mutex_);
  StreamFrame next{frame, timeMs, startsPlayback, false, settings_, 0};
  next.beginsSession = isStep(next);
  lastMs_ = timeMs;
  backlog_.push(next);
  if (session_ != nullptr && !closing_) pump();
  if (session_ == nullptr || backlog_.waiting() != 0) changed_.notify_one();
}

// Whether the stream's clock has stepped in front of a frame; small steps forward are gaps. The
// first frame after the end of a source is one too.
bool SessionFeed::isStep(const StreamFrame& frame) {
  const std::int64_t clockMs = frame.timeMs - serverMs();
  const bool stepped = frame.timeMs < lastMs_ || std::abs(clockMs - clockMs_) > STEP_MS;
  const bool begins = beginsSession_ || (frame.startsPlayback && stepped);
  if (begins) clockMs_ = clockMs;
  beginsSession_ = false;
  endAsked_ = false;
  return begins;
}

void SessionFeed::endSession() {
  const std::lock_guard guard(mutex_);
  beginsSession_ = true;
  endAsked_ = true;
  changed_.notify_one();
}

void SessionFeed::finish() {
  {
    const std::lock_guard guard(mutex_);
    finishing_ = true;
    changed_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
}

void SessionFeed::run() {
  const MysqlThread mysql;
  Lock lock(mutex_);
  recallStored(lock);
  while (step(lock)) await(lock);
  backlog_.leave();
  writeEnds(lock);
}

// A session that has stored something or has ended tells nobody, so it is looked at.
void SessionFeed::await(Lock& lock) {
  const bool waiting = backlog_.waiting() != 0;
  if (session_ == nullptr) confirmationAsked_ = false;  // the next one begins with the event
  if (confirmationAsked_) return;
  if (session_ == nullptr && !waiting && !finishing_) {
    changed_.wait(lock);
  } else {
    changed_.wait_for(lock, busy_ ? BUSY_LOOK : waiting || finishing_ ? WAITING_LOOK : IDLE_LOOK);
  }
}

// An earlier process may have recorded frames without living to take them out of the spool.
void SessionFeed::recallStored(Lock& lock) {
  if (!backlog_.hasLeftover()) return;
  KTLogger::instance()->log(KTLogger::Warning,
                            "stream %d: frames that an earlier recording has left in %s are "
                            "recorded first",
                            options_.params.streamId, options_.spoolDirectory.c_str());
  const std::optional<StreamFrame> first = backlog_.firstLeft();
  if (!first) return;
  lock.unlock();
  auto stored = std::make_shared<StoredFrames>(options_.params.dbName, options_.params.streamId);
  stored->readFrom(*first);
  lock.lock();
  backlog_.skipStored([stored](const StreamFrame& frame) { return stored->has(frame); });
}

// One turn of the feed's thread; false when all is done.
bool SessionFeed::step(Lock& lock) {
  busy_ = false;
  backlog_.spoolOverdue();
  if (session_ == nullptr) {
    if (finishing_ || KTClock::instance()->elapsed() >= nextTry_) open();
  } else if (hasEnded()) {
    closeSession(lock);
  } else {
    busy_ = pump();
    noteFiles(lock);
    seeFile(lock);
    followWindow(lock);
  }
  return !isOver();
}

bool SessionFeed::isOver() const {
  if (!finishing_ || session_ != nullptr) return false;
  return backlog_.waiting() == 0 || gaveUp_;
}

bool SessionFeed::hasEnded() {
  if (!session_->alive() || fileIsGone_) return true;
  const StreamFrame* next = backlog_.next();
  if (next == nullptr) return (finishing_ || endAsked_) && backlog_.waiting() == 0;
  return !session_->fits(*next) || splits(*next);
}

// A window is kept whole: its oldest slice goes before its ring is full.
bool SessionFeed::splitIsDue(const StreamFrame& frame) const {
  if (!frame.startsPlayback || session_->taken() == 0) return false;
  if (window_ && window_->isUnconfirmed()) return false;
  return splitAsked_ || (window_ && window_->isOver());
}

bool SessionFeed::splits(const StreamFrame& frame) {
  if (!splitIsDue(frame)) return false;
  splitAsked_ = false;
  return session_->progress().sliceIndex != 0 || (window_ && window_->isOver());
}

void SessionFeed::open() {
  if (gaveUp_) return;
  const std::optional<std::uint64_t> repeated = backlog_.begin();
  if (!repeated) return;
  lastTry_ = finishing_;
  repeated_ = *repeated;
  repeatedBytes_ = backlog_.bytesOfFirst(repeated_);
  flushed_ = seen_ = 0;
  fileIsGone_ = false;
  session_ = std::make_unique<FedSession>(options_.params, *backlog_.next(),
                                          window_ ? &*window_ : nullptr);
  busy_ = pump();
}

// Gives the session what it takes; whether that was anything.
bool SessionFeed::pump() {
  const std::uint64_t before = session_->taken();
  backlog_.noteFlush(session_->flushIsDue());
  while (const StreamFrame* next = backlog_.next()) {
    if (!session_->fits(*next) || splitIsDue(*next)) break;
    if (!session_->take(*next)) break;
    backlog_.given();
  }
  backlog_.noteStored(session_->progress().frames);
  flushed_ = session_->settled();
  backlog_.settle(backlog_.isHandFull() ? flushed_ : seen_);
  if (seen_ > repeated_) pause_ = KTClock::Span(0);
  return session_->taken() != before;
}

// A session that has ended by itself has said why in the log. What it did not record is given to
// the next one.
void SessionFeed::closeSession(Lock& lock) {
  closing_ = true;
  lock.unlock();
  session_->finish();
  const bool kept = session_->isKept();
  lock.lock();
  noteFiles(lock);
  const std::uint64_t taken = session_->taken();
  const std::uint64_t repeated = repeated_;
  const KTRRecordProgress stored = session_->progress();
  if (kept) past_ = shown();
  repeated_ = repeatedBytes_ = 0;
  std::unique_ptr<FedSession> ended = std::move(session_);
  lock.unlock();
  const std::uint64_t missing = ended->close();  // closes the file: not while progress() waits
  ended.reset();
  lock.lock();
  closing_ = false;
  const FeedBacklog::Recorded recorded = backlog_.end(stored.frames, missing);
  if (missing != 0) {
    past_.frames -= std::max(stored.frames, repeated) - std::max(recorded.frames, repeated);
    past_.bytes -= std::min(past_.bytes, missing);
  }
  if (kept && recorded.timeMs != 0) {
    ends_.push_back({stored.sessionId, static_cast<long>(recorded.timeMs / 1000)});
  }
  if (recorded.frames != taken) return pause(recorded.frames <= repeated);
  pause_ = KTClock::Span(0);
  // While frames wait the server may be away; the next session shows that it is not.
  if (backlog_.waiting() == 0) writeEnds(lock);
}

// A session of the last moment that has recorded nothing is not followed by another.
void SessionFeed::pause(bool recordedNothing) {
  gaveUp_ = lastTry_ && recordedNothing;
  pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
  nextTry_ = KTClock::instance()->elapsed() + pause_;
  KTLogger::instance()->log(KTLogger::Warning,
                            "stream %d: the record session has ended before all was stored; trying "
                            "again in %d s",
                            options_.params.streamId,
                            static_cast<int>(std::chrono::duration_cast<seconds>(pause_).count()));
}

// Where the database answers, what it could not take before is written too.
void SessionFeed::noteFiles(Lock& lock) {
  bool noted = false;
  while (const std::optional<FedSession::Opened> opened = session_->unnoted()) {
    lock.unlock();
    const SessionRows rows(options_.params.dbName);
    rows.setFreeStart(opened->id, static_cast<unsigned int>(options_.params.streamId),
                      opened->begun);
    session_->writeSidecar(opened->id);
    lock.lock();
    session_->note(opened->id);
    noted = true;
  }
  if (noted) writeEnds(lock);
}

// A file that somebody removes takes with it what was in it and no more: frames are let go of when
// their file has been seen after they were written.
void SessionFeed::seeFile(Lock& lock) {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (seen_ == flushed_ || now < nextSight_) return;
  nextSight_ = now + SIGHT_INTERVAL;
  const std::uint64_t flushed = flushed_;
  lock.unlock();
  const bool isGone = session_->isFileGone();
  lock.lock();
  fileIsGone_ = isGone;
  if (!isGone) {
    seen_ = flushed;
    return;
  }
  KTLogger::instance()->log(KTLogger::Warning,
                            "stream %d: the file that is recorded into has been removed: what was "
                            "in it for long is lost, the rest is recorded into another",
                            options_.params.streamId);
}

void SessionFeed::writeEnds(Lock& lock) {
  const std::vector<Ending> ends = std::exchange(ends_, {});
  lock.unlock();
  const SessionRows rows(options_.params.dbName);
  for (const Ending& end : ends) rows.setEnd(end.session, end.time);
  lock.lock();
}

void SessionFeed::followWindow(Lock& lock) {
  if (!window_) return;
  const bool asked = confirmationAsked_;
  lock.unlock();
  session_->followWindow();
  lock.lock();
  if (asked) confirmationAsked_ = false;
}

// The database may be away: whoever confirms, and whoever feeds, does not wait for it.
void SessionFeed::passConfirmation() {
  if (!window_) return;
  confirmationAsked_ = true;
  changed_.notify_one();
}

// What all sessions have stored, a frame that two of them hold counted once.
KTRRecordProgress SessionFeed::shown() const {
  KTRRecordProgress all = past_;
  if (session_ == nullptr) return all;
  KTRRecordProgress running = session_->progress();
  running.frames -= std::min(running.frames, repeated_);
  running.bytes -= std::min(running.bytes, repeatedBytes_);
  all += running;
  return all;
}

SessionFeed::Progress SessionFeed::progress() const {
  const std::lock_guard guard(mutex_);
  Progress all;
  all.stored = shown();
  all.lost = backlog_.lost();
  all.queue = backlog_.waiting();
  if (session_ == nullptr) return all;
  all.queue += session_->queueLength();
  all.open = session_->progress().sessionId;
  return all;
}

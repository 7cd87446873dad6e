#include "host/record/SessionFeed.h"

#include <algorithm>

#include "handles/KTR_DB_factory.h"
#include "recording/KTRAudioStreamRecordSession.h"
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

using std::chrono::seconds;

namespace {

constexpr KTClock::Span FIRST_PAUSE = seconds(1);
constexpr KTClock::Span LONGEST_PAUSE = seconds(30);
constexpr const char* SESSION_ENDED = "the record session has ended";

std::uint32_t stampOf(const KTDataBlock& frame) {
  return loadLittleEndian(frame.data + KTRFrameFormat::STAMP_OFFSET);
}

KTDataBlock timeMessage() {
  const auto now = static_cast<std::uint32_t>(KTTimeValue::now().tv_sec);
  KTDataBlock message(8);
  storeLittleEndian(message.writable(), now);
  storeLittleEndian(message.writable() + 4, now);
  return message;
}

}  // namespace

SessionFeed::SessionFeed(const KTRStreamRecordParams& params, const KTDataBlock& audioHeader,
                         const EventGate* events)
    : params_(params), audioHeader_(audioHeader), sidecar_(params, audioHeader) {
  if (events != nullptr) window_.emplace(*events, params);
}

SessionFeed::~SessionFeed() {
  finish();
}

void SessionFeed::feed(const KTDataBlock& frame, bool startsPlayback) {
  if (startsPlayback) replaceSession();
  if (isCongested(startsPlayback)) return lose("the disk or the database is too slow");
  if (session_ != nullptr && commit(frame) == 0) return;
  if (session_ != nullptr) abandon();
  if (!startsPlayback || KTClock::instance()->elapsed() < nextTry_) return lose(SESSION_ENDED);
  open(frame);
  if (commit(frame) != 0) lose(SESSION_ENDED);
}

int SessionFeed::commit(const KTDataBlock& frame) {
  if (session_->commit(frame, KTRMessageType::FrameData, KTMessage::NormalPriority) != 0) return -1;
  gap_ = false;
  ++fed_;
  fedBytes_ += frame.size;
  lastStampMs_ = stampOf(frame);
  sidecar_.note(session_->progress().sessionId);
  if (session_->progress().frames != 0) pause_ = KTClock::Span(0);
  if (window_) window_->follow(*session_);
  return 0;
}

// A dead session is not congested: the next commit finds it.
bool SessionFeed::isCongested(bool startsPlayback) {
  if (session_ == nullptr || !session_->alive()) return congested_ = false;
  const std::uint64_t waiting = fedBytes_ - session_->progress().bytes;
  if (congested_ && startsPlayback) congested_ = waiting > LARGEST_QUEUE / 2;
  if (waiting > LARGEST_QUEUE) congested_ = true;
  return congested_;
}

void SessionFeed::open(const KTDataBlock& firstFrame) {
  Session session = audioHeader_.size == 0 ? newVideo() : newAudio(firstFrame);
  const std::lock_guard guard(mutex_);
  session_ = std::move(session);
}

SessionFeed::Session SessionFeed::newVideo() {
  auto session = std::make_unique<KTRVideoStreamRecordSession>(params_);
  (void)session->commit(timeMessage(), KTRMessageType::Time, KTMessage::NormalPriority);
  if (window_) window_->begin(*session);
  return session;
}

// A session of sound knows no time message. Its first frame is kept aside as the header; the record
// session begins with the stamp of that frame.
SessionFeed::Session SessionFeed::newAudio(const KTDataBlock& firstFrame) {
  auto session = std::make_unique<KTRAudioStreamRecordSession>(params_);
  const long now = KTTimeValue::now().tv_sec;
  session->setServerTime(now, now);
  if (window_) window_->begin(*session);
  const KTDataBlock header = KTRFrameWriter::build(KTRFrameFormat::Audio, stampOf(firstFrame),
                                                   {{audioHeader_.data, audioHeader_.size}});
  (void)session->commit(header, KTRMessageType::FrameData, KTMessage::NormalPriority);
  return session;
}

void SessionFeed::replaceSession() {
  if (session_ == nullptr) return;
  const bool asked = splitAsked_.exchange(false);
  if (window_ && window_->isUnconfirmed()) return;  // its oldest slice goes before its ring is full
  const unsigned int slice = session_->progress().sliceIndex;
  const bool over = window_ && window_->isOver();
  if (over || slice >= LAST_SLICE || (asked && slice != 0)) finish();
}

// A session that has ended by itself takes nothing more; its log lines say why it ended.
void SessionFeed::abandon() {
  session_->wait();
  const bool failed = session_->progress().frames != fed_;
  close();
  if (!failed) return;
  pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
  nextTry_ = KTClock::instance()->elapsed() + pause_;
}

void SessionFeed::lose(const char* reason) {
  const std::lock_guard guard(mutex_);
  ++past_.lost;
  if (std::exchange(gap_, true)) return;
  KTLogger::instance()->log(KTLogger::Warning, "stream %d: %s: frames are lost up to a key frame",
                            params_.streamId, reason);
}

void SessionFeed::passConfirmation() {
  const std::lock_guard guard(mutex_);
  if (window_ && session_ != nullptr) window_->follow(*session_);
}

void SessionFeed::finish() {
  if (session_ == nullptr) return;
  if (window_) window_->beforeStop(*session_);
  (void)session_->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  close();
}

void SessionFeed::close() {
  session_->wait();
  const KTRRecordProgress stored = session_->progress();
  sidecar_.note(stored.sessionId);
  const long lastTime = session_->getRealTime(lastStampMs_);
  const bool kept = !window_ || window_->ended(*session_);
  fedBytes_ = 0;
  Session ended;
  {
    const std::lock_guard guard(mutex_);
    if (kept) past_.stored += stored;
    past_.lost += std::exchange(fed_, 0) - stored.frames;
    ended = std::move(session_);
  }
  ended.reset();  // closes the file: not while progress() waits
  if (kept && stored.frames != 0) writeEnd(stored.sessionId, lastTime);
}

// A session's own last row update comes with its last key frame; what follows belongs to it too.
void SessionFeed::writeEnd(unsigned int sessionId, long lastTime) {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->db_instance(params_.dbName);
  if (db == nullptr || db->recordSessionTable() == nullptr) return;
  db->recordSessionTable()->updateEndTime(sessionId, lastTime, 0);
  db->recordSessionTable()->updateDataBase(true);
}

SessionFeed::Progress SessionFeed::progress() const {
  const std::lock_guard guard(mutex_);
  Progress all = past_;
  if (session_ == nullptr) return all;
  all.stored += session_->progress();
  all.queue = session_->queueLength();
  all.open = session_->progress().sessionId;
  return all;
}

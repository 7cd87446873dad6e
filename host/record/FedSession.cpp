#include "host/record/FedSession.h"

#include <cstdlib>
#include <filesystem>

#include "host/record/SidecarWriter.h"
#include "recording/KTRAudioStreamRecordSession.h"
#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr long FLUSH_SECONDS = 11;  // a frame that comes so late brings those before it to the disk

long serverSecond() {
  return KTTimeValue::now().tv_sec;
}

KTDataBlock timeMessage(long gateway, long server) {
  KTDataBlock message(8);
  storeLittleEndian(message.writable(), static_cast<std::uint32_t>(gateway));
  storeLittleEndian(message.writable() + 4, static_cast<std::uint32_t>(server));
  return message;
}

std::uint32_t stampOf(const KTDataBlock& frame) {
  return loadLittleEndian(frame.data + KTRFrameFormat::STAMP_OFFSET);
}

// The slice that is written.
std::string sliceOf(const std::string& files, const KTRRecordProgress& written) {
  return files + "F" + std::to_string(written.sliceIndex) + ".dat";
}

}  // namespace

FedSession::FedSession(const KTRStreamRecordParams& params, const StreamFrame& first,
                       EventWindow* window)
    : params_(params),
      settings_(first.settings),
      window_(window),
      firstTime_(static_cast<long>(first.timeMs / 1000)),
      lastMs_(first.timeMs) {
  settings_->applyTo(params_);
  open(first);
}

FedSession::~FedSession() {
  finish();
}

void FedSession::open(const StreamFrame& first) {
  if (!settings_->isSound()) {
    session_ = std::make_unique<KTRVideoStreamRecordSession>(params_);
    tellTime(firstTime_);
    if (window_ != nullptr) window_->begin(*session_);
    return;
  }
  // A session of sound knows no time message. Its first frame is kept aside as the header; the
  // record session begins with the stamp of that frame.
  session_ = std::make_unique<KTRAudioStreamRecordSession>(params_);
  tellTime(firstTime_);
  if (window_ != nullptr) window_->begin(*session_);
  const KTDataBlock& header = settings_->soundHeader();
  const KTDataBlock frame = KTRFrameWriter::build(KTRFrameFormat::Audio, stampOf(first.bytes),
                                                  {{header.data, header.size}});
  (void)session_->commit(frame, KTRMessageType::FrameData, KTMessage::NormalPriority);
}

void FedSession::tellTime(long frameSecond) {
  const long server = serverSecond();
  offset_ = server - frameSecond;
  if (settings_->isSound()) {
    session_->setServerTime(frameSecond, server);
  } else {
    (void)session_->commit(timeMessage(frameSecond, server), KTRMessageType::Time,
                           KTMessage::NormalPriority);
  }
}

bool FedSession::fits(const StreamFrame& frame) const {
  if (taken_ == 0) return true;
  if (!(*frame.settings == *settings_)) return false;
  // A window is kept whole, whatever the clock does.
  if (window_ != nullptr && window_->isUnconfirmed()) return true;
  if (frame.beginsSession) return false;
  if (!frame.startsPlayback) return true;
  return frame.timeMs >= lastMs_ && progress().sliceIndex < LAST_SLICE;
}

bool FedSession::isLate(long frameSecond) const {
  const long clock = serverSecond() - offset_;
  return std::labs(frameSecond - clock) > LARGEST_LAG_SECONDS;
}

// Sound that waits while the session stands still is placed by the clock of the moment when it goes
// on: behind a midnight that would be another day. Pictures need no such care, since their session
// ends when it has stood still for three minutes.
void FedSession::holdClock() {
  if (settings_->isSound() && progress().frames < taken_ && isLate(lastTime())) {
    tellTime(lastTime());
  }
}

bool FedSession::take(const StreamFrame& frame) {
  look();
  holdClock();
  if (!alive() || queueLength() >= LONGEST_QUEUE) return false;
  const auto second = static_cast<long>(frame.timeMs / 1000);
  if (frame.startsPlayback && isLate(second)) {
    // Sound is told the time beside its queue: not while frames of the time before are in it.
    if (settings_->isSound() && progress().frames != taken_) return false;
    tellTime(second);
  }
  if (session_->commit(frame.bytes, KTRMessageType::FrameData, KTMessage::NormalPriority) != 0) {
    return false;
  }
  ++taken_;
  lastMs_ = frame.timeMs;
  return true;
}

// A session writes its buffer out with the first frame that comes 11 seconds or more after the last
// time; what was in the file so long before a frame came is therefore on disk.
std::uint64_t FedSession::settled() {
  look();
  holdClock();
  const Sample now{serverSecond(), progress().frames};
  if (now.frames > last_.frames) {
    while (!samples_.empty() && samples_.front().second <= last_.second - FLUSH_SECONDS) {
      settled_ = samples_.front().frames;
      samples_.pop_front();
    }
    if (!samples_.empty() && samples_.back().second == now.second) samples_.pop_back();
    samples_.push_back(now);
  }
  last_ = now;
  return settled_;
}

bool FedSession::flushIsDue() const {
  return samples_.empty() || samples_.front().second <= serverSecond() - FLUSH_SECONDS;
}

// A session opens further record sessions by itself, at midnight at the latest.
void FedSession::look() {
  const KTRRecordProgress now = progress();
  if (now.sessionId == 0 || (!opened_.empty() && opened_.back().id == now.sessionId)) return;
  opened_.push_back({now.sessionId, opened_.empty() ? firstTime_ : lastTime(), now.frames, false});
}

// The row has its start once the first frame is stored.
std::optional<FedSession::Opened> FedSession::unnoted() {
  look();
  for (const Opened& each : opened_) {
    const bool isLast = each.id == opened_.back().id;
    const bool begun = !isLast || progress().frames > each.framesBefore || !alive();
    if (!each.noted && begun) return each;
  }
  return std::nullopt;
}

void FedSession::note(unsigned int id) {
  for (Opened& each : opened_) each.noted = each.noted || each.id == id;
}

void FedSession::writeSidecar(unsigned int id) {
  files_ = SidecarWriter(params_, settings_->soundHeader()).note(id);  // step C6
  filesOf_ = id;
}

// A slice that could not be opened was never there: the session finds that out by itself.
bool FedSession::isFileGone() {
  const KTRRecordProgress written = progress();
  if (files_.empty() || written.sessionId != filesOf_) return false;
  const std::filesystem::path path = sliceOf(files_, written);
  std::error_code error;
  const bool isThere = exists(path, error);
  if (isThere) seenFile_ = path;
  if (isThere || error) return false;
  return seenFile_ == path || (!exists(path.parent_path(), error) && !error);
}

void FedSession::followWindow() {
  if (window_ != nullptr) window_->follow(*session_);
}

bool FedSession::isKept() {
  kept_ = window_ == nullptr || window_->ended(*session_);
  return kept_;
}

void FedSession::finish() {
  if (session_ == nullptr) return;
  if (window_ != nullptr) window_->beforeStop(*session_);
  (void)session_->commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  session_->wait();
}

// A flush that fails ends the session, so nothing can be missing but from the slice that is open
// then. All before it may have been deleted since.
std::uint64_t FedSession::close() {
  const KTRRecordProgress stored = progress();
  const std::string prefix(session_->filePrefix().view());
  session_.reset();  // step E1
  if (!kept_ || prefix.empty()) return 0;
  std::error_code error;
  const auto size = std::filesystem::file_size(sliceOf(prefix, stored), error);
  const std::uint64_t found = error ? 0 : size;
  return found < stored.sliceBytes ? stored.sliceBytes - found : 0;
}

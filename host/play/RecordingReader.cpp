#include "host/play/RecordingReader.h"

#include <limits>

#include "handles/KTR_DB_factory.h"

namespace {

// The library looks back from the wanted second by as much as this when it has no later key frame.
constexpr std::int64_t LOOK_BACK_SECONDS = 5;
// An index row written in the moment of a slice change points into the wrong slice.
constexpr int LOAD_ATTEMPTS = 3;
constexpr std::int64_t LATEST_SECONDS = 0x7FFFFFFF;

KTString decimal(std::int64_t value) {
  KTString text;
  return text.format("%lld", static_cast<long long>(value));
}

bool startsPlayback(const RecordingReader::Frame& frame) {
  return frame.frame.isKFrame() || frame.frame.isJpeg();
}

}  // namespace

RecordingReader::RecordingReader(const KTString& recorder, unsigned char stream)
    : recorder_(recorder), stream_(stream), session_(recorder, 0) {}

bool RecordingReader::seek(std::int64_t seconds, std::int64_t spanSeconds) {
  endSeconds_ = seconds + spanSeconds;
  if (!beginNear(seconds) && !begin(seconds, spanSeconds)) return false;
  return skipTo(seconds * 1000) && ahead_.front().timeMs < endSeconds_ * 1000;
}

bool RecordingReader::seekLast() {
  endSeconds_ = LATEST_SECONDS;
  if (!beginInLastSession(LATEST_SECONDS)) return false;
  (void)skipTo(std::numeric_limits<std::int64_t>::max());
  return !ahead_.empty();
}

// Begins at the last key frame at or before the moment, or a little earlier.
bool RecordingReader::beginNear(std::int64_t seconds) {
  return begin(seconds - LOOK_BACK_SECONDS, 0) || begin(seconds, 0) || beginInLastSession(seconds);
}

bool RecordingReader::begin(std::int64_t seconds, std::int64_t spanSeconds) {
  for (int attempt = 0; attempt < LOAD_ATTEMPTS; ++attempt) {
    KTRStreamReadSession::Parameters params;
    params["streamid"] = decimal(stream_);
    params["starttime"] = decimal(seconds + attempt);
    params["duration"] = decimal(spanSeconds);
    if (session_.load(params) == 0) return false;
    stamps_.restart(session_.startTime());
    ahead_.clear();
    Frame first;
    if (!read(first)) continue;
    ahead_.push_back(first);
    return true;
  }
  return false;
}

// The end in a session's row may lie before its last frames, so they are reached from there.
bool RecordingReader::beginInLastSession(std::int64_t seconds) {
  KTR_DB_handle* db = KTR_DB_factory::instance()->db_instance(recorder_);
  if (db == nullptr || db->recordSessionTable() == nullptr) return false;
  KTString where;
  where.format(
      "WHERE streamID=%u AND start_time>0 AND start_time<=%lld ORDER BY start_time DESC "
      "LIMIT 1",
      stream_, static_cast<long long>(seconds));
  KTVector<KTString> sessions;
  if (db->recordSessionTable()->getRecordSessionList(sessions, where, false) == 0) return false;
  const KTVector<KTString> fields = sessions[0].tokenize(',');
  constexpr unsigned int END_TIME = 4;
  return fields.count() > END_TIME && begin(fields[END_TIME].toUInt(0), 0);
}

// Reads on to the moment, keeping what a decoder needs there: the frames since the last key frame.
bool RecordingReader::skipTo(std::int64_t timeMs) {
  std::deque<Frame> kept;
  Frame frame;
  bool reached = false;
  while (!reached && next(frame)) {
    if (startsPlayback(frame)) kept.clear();
    if (kept.empty() && !startsPlayback(frame)) continue;
    kept.push_back(frame);
    reached = frame.timeMs >= timeMs;
  }
  ahead_ = std::move(kept);
  return reached;
}

bool RecordingReader::next(Frame& frame) {
  if (ahead_.empty()) return read(frame) || (nextSession() && next(frame));
  frame = std::move(ahead_.front());
  ahead_.pop_front();
  return true;
}

bool RecordingReader::read(Frame& frame) {
  KTDataBlock data;
  unsigned int unused = 0;
  if (session_.getFrame(data, unused) == 0 || !frame.frame.parse(data)) return false;
  frame.timeMs = stamps_.unwrap(frame.frame.timeStamp());
  lastMs_ = frame.timeMs;
  return true;
}

// Goes on in a later record session: of the same settings, or else of any. A session whose row has
// no end yet is found as its own successor, which is none.
bool RecordingReader::nextSession() {
  const unsigned int currentId = session_.recordSession().id;
  const unsigned int currentStart = session_.recordSession().start_time;
  const auto isLater = [&] {
    const KTRRecorderSessionRow& row = session_.recordSession();
    return row.id != currentId && row.start_time > currentStart;
  };
  const std::int64_t behind = lastMs_ / 1000 + 1;
  if (session_.loadNextRecordSession() && isLater()) {
    stamps_.restart(session_.startTime());
    return true;
  }
  return behind < endSeconds_ && begin(behind, endSeconds_ - behind) && isLater();
}

bool RecordingReader::resume() {
  const std::int64_t last = lastMs_;
  Frame frame;
  if (beginNear(last / 1000)) {
    while (next(frame)) {
      if (frame.timeMs <= last) continue;
      ahead_.push_front(std::move(frame));
      return true;
    }
  }
  ahead_.clear();
  lastMs_ = last;
  return false;
}

KTString RecordingReader::codec() const {
  const KTVector<KTString> pieces = session_.settings().settings.tokenize(',');
  constexpr unsigned int CODEC = 2;
  return pieces.count() > CODEC ? pieces[CODEC] : KTString();
}

#include "host/play/RecordingReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "handles/KTR_DB_factory.h"

namespace {

// The library takes the last key frame up to this much behind the wanted second.
constexpr std::int64_t LOOK_AHEAD_SECONDS = 5;
// An index row written in the moment of a slice change points into the wrong slice.
constexpr int LOAD_ATTEMPTS = 3;
constexpr std::int64_t LATEST_SECONDS = 0x7FFFFFFF;

KTString decimal(std::int64_t value) {
  KTString text;
  return text.format("%lld", static_cast<long long>(value));
}

bool startsPlayback(const RecordingReader::Frame& frame) {
  const KTRFrameFormat::Kind kind = frame.frame.kind();
  return kind == KTRFrameFormat::Key || kind == KTRFrameFormat::Jpeg ||
         kind == KTRFrameFormat::Audio;
}

KTString codecOf(const KTRSettingsRow& settings) {
  const KTVector<KTString> pieces = settings.settings.tokenize(',');
  const unsigned int codec = settings.streamType == STREAM_AUDIO ? 1 : 2;
  return pieces.count() > codec ? pieces[codec] : KTString();
}

}  // namespace

RecordingReader::RecordingReader(const KTString& recorder, unsigned char stream, Kind kind)
    : recorder_(recorder),
      stream_(stream),
      video_(kind == Video ? std::make_unique<SessionPlayer>(recorder, 0) : nullptr),
      audio_(kind == Audio ? std::make_unique<AudioSessionPlayer>(recorder, 0) : nullptr),
      session_(kind == Video ? static_cast<KTRStreamReadSession&>(*video_) : *audio_) {}

bool RecordingReader::loadStart(const Row& row) {
  return audio_ != nullptr ? audio_->loadStart(row) : video_->loadStart(row);
}

bool RecordingReader::seek(std::int64_t seconds, std::int64_t spanSeconds) {
  Row row;
  const bool before = findBefore(seconds, row);
  if (!(before && enterNear(row, seconds)) && !enterBehind(row)) return false;
  return skipTo(seconds * 1000) && timeMs() < (seconds + spanSeconds) * 1000;
}

bool RecordingReader::seekLast() {
  Row row;
  if (!findBefore(LATEST_SECONDS, row) || !enterNear(row, LATEST_SECONDS)) return false;
  (void)skipTo(std::numeric_limits<std::int64_t>::max());
  return !ahead_.empty();
}

KTRRecordSessionTable* RecordingReader::sessions() const {
  KTR_DB_handle* db = KTR_DB_factory::instance()->db_instance(recorder_);
  return db == nullptr ? nullptr : db->recordSessionTable();
}

bool RecordingReader::findSession(const KTString& condition, Row& row) const {
  KTRRecordSessionTable* const table = sessions();
  KTString where;
  where.format("WHERE streamID=%u AND start_time>0 AND dataAvailable>0 AND %s LIMIT 1", stream_,
               condition.c_str());
  KTVector<KTString> found;
  if (table == nullptr || table->getRecordSessionList(found, where, false) == 0) return false;
  return table->getRecordSessionRow(found[0].toUInt(0), row);
}

// A session that begins within the wanted second may begin behind the wanted moment.
bool RecordingReader::findBefore(std::int64_t seconds, Row& row) const {
  KTString condition;
  condition.format("start_time<%lld ORDER BY start_time DESC,id DESC",
                   static_cast<long long>(seconds));
  return findSession(condition, row);
}

bool RecordingReader::findBehind(const Row& session, Row& row) const {
  KTString condition;
  condition.format("(start_time>%u OR (start_time=%u AND id>%u)) ORDER BY start_time,id",
                   session.start_time, session.start_time, session.id);
  return findSession(condition, row);
}

// Begins at a key frame at or before the moment, a few seconds earlier at most where there is one.
// The second of the moment itself is not asked for: its key frame may lie behind the moment.
bool RecordingReader::enterNear(const Row& row, std::int64_t seconds) {
  const std::int64_t start = row.start_time;
  const std::int64_t end = std::max<std::int64_t>(start, row.end_time);
  std::int64_t latest = seconds - 1;
  for (int attempt = 0; attempt < LOAD_ATTEMPTS; ++attempt) {
    if (!load(row, std::clamp(latest - LOOK_AHEAD_SECONDS, start, end))) break;
    const std::int64_t indexed = session_.startTime();
    if (indexed > latest) break;
    Frame first;
    if (read(first) && startsPlayback(first) && first.timeMs / 1000 == indexed) {
      enter(row, first);
      return true;
    }
    latest = indexed - 1;
  }
  return enterStart(row);
}

bool RecordingReader::enterStart(const Row& row) {
  if (!loadStart(row)) return false;
  stamps_.restart(row.start_time);
  Frame first;
  do {
    if (!read(first)) return false;
  } while (!startsPlayback(first));
  enter(row, first);
  return true;
}

bool RecordingReader::enterBehind(const Row& session) {
  Row row = session;
  while (findBehind(row, row)) {
    if (enterStart(row)) return true;
  }
  return false;
}

// The library loads the first session that covers the time, which may be the one before.
bool RecordingReader::load(const Row& row, std::int64_t seconds) {
  KTRStreamReadSession::Parameters params;
  params["streamid"] = decimal(stream_);
  params["settingsid"] = decimal(row.settingsID);
  params["starttime"] = decimal(seconds);
  if (session_.load(params) == 0 || session_.recordSession().id != row.id) return false;
  stamps_.restart(session_.startTime());
  return true;
}

void RecordingReader::enter(const Row& row, const Frame& first) {
  current_ = row;
  codec_ = codecOf(session_.settings());
  ahead_.clear();
  ahead_.push_back(first);
  ahead_.back().codec = codec_;
}

// Reads on to the moment, keeping what a decoder needs there: the frames since the last key frame.
// A key frame behind the moment takes their place only where nothing was recorded at the moment.
bool RecordingReader::skipTo(std::int64_t timeMs) {
  std::deque<Frame> kept;
  Frame frame;
  bool reached = false;
  while (!reached && next(frame)) {
    const bool inside = !kept.empty() && kept.back().session == frame.session;
    if (startsPlayback(frame) && (frame.timeMs <= timeMs || !inside)) kept.clear();
    kept.push_back(frame);
    reached = frame.timeMs >= timeMs;
  }
  ahead_ = std::move(kept);
  return reached;
}

bool RecordingReader::next(Frame& frame) {
  return take(frame) || (nextSession() && take(frame));
}

bool RecordingReader::take(Frame& frame) {
  if (!ahead_.empty()) {
    frame = std::move(ahead_.front());
    ahead_.pop_front();
  } else if (!read(frame)) {
    return false;
  }
  lastMs_ = frame.timeMs;
  repeated_.note(frame.timeMs, frame.frame.data(), startsPlayback(frame));
  return true;
}

bool RecordingReader::read(Frame& frame) {
  KTDataBlock data;
  unsigned int unused = 0;
  if (session_.getFrame(data, unused) == 0) return false;
  Frame read;
  if (!read.frame.parse(data)) return false;
  read.timeMs = stamps_.unwrap(read.frame.timeStamp());
  read.codec = codec_;
  read.session = session_.recordSession().id;
  if (audio_ != nullptr) read.audioHeader = audio_->header();
  frame = std::move(read);
  return true;
}

// Once a session has a successor all of it is on disk, which may not have been so when its end was
// reached: so it is looked at again before it is left.
bool RecordingReader::nextSession() {
  Row later;
  if (!findBehind(current_, later)) return false;
  if (std::exchange(completeId_, current_.id) != current_.id && goOn()) return true;
  while (enterBehind(current_)) {
    if (skipRepeated()) return true;
  }
  return false;
}

// Goes behind what the session that was entered repeats; false when that is all of it.
bool RecordingReader::skipRepeated() {
  repeated_.enterSession();
  while (repeated_.has(ahead_.front().timeMs, ahead_.front().frame.data())) {
    Frame frame;
    if (!read(frame)) return false;
    ahead_.front() = std::move(frame);
  }
  return true;
}

// Loads the current session again and goes behind the last frame that was handed out.
bool RecordingReader::goOn() {
  Row row;
  KTRRecordSessionTable* const table = sessions();
  if (table == nullptr || !table->getRecordSessionRow(current_.id, row)) return false;
  const std::int64_t last = lastMs_;
  bool more = enterNear(row, last / 1000);
  Frame frame;
  while (more && (more = take(frame)) && frame.timeMs <= last) {
  }
  ahead_.clear();
  if (more) ahead_.push_back(frame);
  lastMs_ = last;
  return more;
}

bool RecordingReader::resume() {
  return goOn() || nextSession();
}

const KTString& RecordingReader::codec() const {
  return ahead_.empty() ? codec_ : ahead_.front().codec;
}

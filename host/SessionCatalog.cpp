#include "host/SessionCatalog.h"

#include <algorithm>

#include "db/KTRAudioSettingsRow.h"
#include "db/KTRVideoSettingsRow.h"
#include "host/media/SteadyClock.h"

namespace {

/** A row is written every eleven seconds while it is recorded; twice that and a slow camera. */
constexpr long RECENT_SECONDS = 60;

/** Columns of an entry of the session list. */
enum Column : unsigned int { ID, STREAM, SETTINGS, START, END, DATA_AVAILABLE, FPS, COLUMNS };

/** What a row says while nothing has decided whether its footage is kept. */
constexpr unsigned int UNDECIDED = 2;

RecordedSession::State stateOf(unsigned int dataAvailable) {
  if (dataAvailable == UNDECIDED) return RecordedSession::Unconfirmed;
  return dataAvailable == 0 ? RecordedSession::Deleted : RecordedSession::Stored;
}

}  // namespace

const char* RecordedSession::stateName() const {
  switch (state) {
    case Recording:
      return "recording";
    case PreEvent:
      return "pre-event";
    case Unconfirmed:
      return "unconfirmed";
    case Deleted:
      return "deleted";
    default:
      return "stored";
  }
}

std::vector<RecordedSession> SessionCatalog::read(std::optional<unsigned char> stream) {
  files_ = FileSizes();
  KTString where;
  if (stream) where.format("WHERE streamID=%u", static_cast<unsigned int>(*stream));
  where += " ORDER BY streamID,start_time";
  KTVector<KTString> entries;
  const unsigned int count =
      handle_.recordSessionTable()->getRecordSessionList(entries, where, false);
  std::vector<RecordedSession> sessions;
  for (unsigned int i = 0; i < count; ++i) {
    if (auto session = parseEntry(entries[i])) sessions.push_back(std::move(*session));
  }
  markRecording(sessions);
  return sessions;
}

std::optional<RecordedSession> SessionCatalog::parseEntry(const KTString& entry) {
  const KTVector<KTString> columns = entry.tokenize(',');
  if (columns.count() != COLUMNS) return std::nullopt;
  RecordedSession session;
  session.id = columns[ID].toUInt(0);
  session.stream = columns[STREAM].toUInt(0);
  session.start = columns[START].toUInt(0);
  session.end = std::max<long>(columns[END].toUInt(0), session.start);
  session.fps = columns[FPS].toUInt(0);
  session.filePrefix = handle_.getFullPrefixFileName(static_cast<int>(session.id)).view();
  session.bytes = files_.bytesOf(session.filePrefix);
  session.state = stateOf(columns[DATA_AVAILABLE].toUInt(0));
  readSettings(columns[SETTINGS].toUInt(0), session);
  return session;
}

void SessionCatalog::readSettings(unsigned int settingsId, RecordedSession& session) {
  session.kind = "unknown";
  KTRSettingsRow row("", STREAM_UNKNOWN, "");
  if (!handle_.settingsTable()->getSettingsByID(settingsId, row)) return;
  if (row.streamType == STREAM_VIDEO) {
    const KTRVideoSettingsRow video(row);
    session.kind = "video";
    session.codec = video.videoText1.view();
    session.format = video.videoText2.view();
    session.fps = video.videoParam1;  // the session's own column holds a fixed rate
  } else if (row.streamType == STREAM_AUDIO) {
    const KTRAudioSettingsRow audio(row);
    session.kind = "audio";
    session.codec = audio.codec.view();
    session.format = std::to_string(audio.sampleRate) + " Hz";
  }
}

void SessionCatalog::markRecording(std::vector<RecordedSession>& sessions) const {
  if (!isRecording_) return;
  const long now = SteadyClock::wall().tv_sec;
  for (size_t i = 0; i < sessions.size(); ++i) {
    const bool isLast = i + 1 == sessions.size() || sessions[i + 1].stream != sessions[i].stream;
    if (!isLast || now - sessions[i].end > RECENT_SECONDS) continue;
    RecordedSession::State& state = sessions[i].state;
    if (state == RecordedSession::Stored) state = RecordedSession::Recording;
    if (state == RecordedSession::Unconfirmed) state = RecordedSession::PreEvent;
  }
}

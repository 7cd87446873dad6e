// Construction, time and loading; the moves are in KTRStreamReadSession_moves.cpp.
#include "playback/KTRStreamReadSession.h"

#include "handles/KTR_DB_factory.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTRDBName.h"
#include "runtime/KTTimeValue.h"

namespace {

constexpr long DAY_SECONDS = 86400;

// The numbers that load() and dummyload() read.
struct Request {
  explicit Request(const KTRStreamReadSession::Parameters& params)
      : streamId(params["streamid"].toUInt(0)),
        startTime(static_cast<long>(params["starttime"].toUInt(0))),
        settingsId(params["settingsid"].toUInt(0)),
        duration(params["duration"].toUInt(0)),
        size(params["size"]) {}

  // The row of the record session that covers the wanted time.
  bool findRow(KTR_DB_handle* db, KTRRecorderSessionRow& row) const {
    return db->recordSessionTable()->getRecordSessionRow(static_cast<unsigned char>(streamId),
                                                         startTime, static_cast<long>(duration),
                                                         settingsId, row, size);
  }

  unsigned int streamId;
  long startTime;
  unsigned int settingsId;
  unsigned int duration;
  KTString size;
};

}  // namespace

KTRStreamReadSession::KTRStreamReadSession(const KTString& db, unsigned int timeShift)
    : _dbName(KTRDBName(db)),
      _settings("", STREAM_UNKNOWN, "UNKNOWN"),
      _timeShift(static_cast<int>(timeShift)) {
  _recordSession.streamType = STREAM_UNKNOWN;
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  _dbAvailable = factory != nullptr && factory->db_instance(_dbName) != nullptr;
}

KTRStreamReadSession::~KTRStreamReadSession() {
  const KTCriticalCode guard(_fileMutex);
  _file.reset();
}

const char* KTRStreamReadSession::name() const {
  return "KTRStreamReadSession";
}

KTR_DB_handle* KTRStreamReadSession::database() const {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->db_instance(_dbName);
  const bool usable =
      db != nullptr && db->recordSessionTable() != nullptr && db->settingsTable() != nullptr;
  return usable ? db : nullptr;
}

int KTRStreamReadSession::getFrame(KTDataBlock&, unsigned int&) {
  return false;
}

long KTRStreamReadSession::getRealTimeWithBaseTime(long baseTime, long frameTimeMs) {
  if (frameTimeMs == 0) return baseTime;
  const long timeOfDay = baseTime % DAY_SECONDS;
  const long frameSecond = frameTimeMs / 1000;
  const long nextDay = timeOfDay > frameSecond ? DAY_SECONDS : 0;
  return baseTime - timeOfDay + frameSecond + nextDay;
}

long KTRStreamReadSession::getRealTime(unsigned int frameTimeMs) const {
  const long now = KTTimeValue::now().tv_sec - _timeShift;
  const long timeOfDay = now % DAY_SECONDS;
  const long frameSecond = static_cast<long>(frameTimeMs / 1000);
  const long yesterday = timeOfDay < frameSecond ? DAY_SECONDS : 0;
  return now - timeOfDay + frameSecond - yesterday;
}

bool KTRStreamReadSession::isResume(const Parameters& params) const {
  return _loaded && (!params.contains("starttime") || !params.contains("streamid"));
}

bool KTRStreamReadSession::isAudio() const {
  return _settings.streamType == STREAM_AUDIO;
}

int KTRStreamReadSession::load(const Parameters& params) {
  if (isResume(params)) {
    _playing = true;
    return true;
  }
  _playing = false;
  const Request request(params);
  _streamId = request.streamId;
  _startTime = request.startTime;
  _settingsId = request.settingsId;
  KTR_DB_handle* db = database();
  if (db == nullptr || !request.findRow(db, _recordSession)) return false;
  _settingsId = _recordSession.settingsID;
  if (!loadSettings(db, _settingsId)) return false;
  const long sessionStart = static_cast<long>(_recordSession.start_time);
  if (_startTime < sessionStart) _startTime = sessionStart;
  return findStart(db, request.duration) && openAtStart();
}

int KTRStreamReadSession::dummyload(const Parameters& params) {
  if (isResume(params)) return true;
  const Request request(params);
  KTR_DB_handle* db = database();
  KTRRecorderSessionRow row;
  if (db == nullptr || !request.findRow(db, row)) return false;
  if (!loadSettings(db, row.settingsID)) return false;
  KTRStreamTable* index = db->streamInstance(row.id);
  if (index == nullptr) return false;
  long time = static_cast<long>(row.start_time);
  unsigned char fileIndex = 0;
  unsigned int offset = 0;
  return index->getFileIndexNOffset(time, fileIndex, offset, isAudio(),
                                    static_cast<long>(request.duration));
}

bool KTRStreamReadSession::loadNextRecordSession() {
  if (!_loaded) return false;
  _playing = false;
  KTR_DB_handle* db = database();
  if (db == nullptr ||
      !db->recordSessionTable()->getNextRecordSessionRow(
          static_cast<unsigned char>(_streamId), static_cast<long>(_recordSession.end_time),
          _recordSession.settingsID, _recordSession)) {
    return false;
  }
  _settingsId = _recordSession.settingsID;
  if (!loadSettings(db, _settingsId)) return false;
  _startTime = static_cast<long>(_recordSession.start_time);
  return findStart(db, 0) && openAtStart();
}

bool KTRStreamReadSession::loadSettings(KTR_DB_handle* db, unsigned int settingsId) {
  return db->settingsTable()->getSettingsByID(settingsId, _settings);
}

// Moves the start to the first indexed frame that playback can begin at. Every indexed frame of a
// video is a key frame; an audio stream begins at the first frame that is not too early.
bool KTRStreamReadSession::findStart(KTR_DB_handle* db, unsigned int duration) {
  KTRStreamTable* index = db->streamInstance(_recordSession.id);
  return index != nullptr && index->getFileIndexNOffset(_startTime, _fileIndex, _fileOffset,
                                                        isAudio(), static_cast<long>(duration));
}

bool KTRStreamReadSession::openAtStart() {
  const bool opened = openFileNSeekIt(_fileIndex, static_cast<int>(_fileOffset));
  _playing = opened;
  if (opened) _loaded = true;
  return opened;
}

#include "playback/KTREventStreamReadSession.h"

#include "db/KTRTextGuard.h"
#include "runtime/KTCriticalCode.h"

namespace {

// A row of the event table begins with its id, which is not handed out, and four numbers.
constexpr unsigned int ID_SIZE = 4;
constexpr unsigned int NUMBERS_SIZE = 16;
constexpr unsigned int ROW_HEAD_SIZE = ID_SIZE + NUMBERS_SIZE;

void appendRecord(KTDataBlock& batch, const KTDataBlock& row) {
  const KTDataBlock payload = row.copy(ROW_HEAD_SIZE, row.size - ROW_HEAD_SIZE);
  const auto length = static_cast<unsigned char>(payload.size);
  batch += row.copy(ID_SIZE, NUMBERS_SIZE);
  batch += KTDataBlock(&length, 1);
  batch += payload;
}

bool allowsQuery(const KTRStreamReadSession::Parameters& params) {
  return KTRTextGuard::allows(KTRTextGuard::Condition, params["event_query"]);
}

unsigned int number(const KTRStreamReadSession::Parameters& params, const char* key) {
  return params[key].toUInt(0);
}

}  // namespace

KTREventStreamReadSession::KTREventStreamReadSession(const KTString& db, unsigned int timeShift)
    : KTRStreamReadSession(db, timeShift) {}

KTREventStreamReadSession::~KTREventStreamReadSession() = default;

const char* KTREventStreamReadSession::name() const {
  return "KTREventStreamRecordSession";
}

KTREventTable* KTREventStreamReadSession::eventTable() const {
  KTR_DB_handle* db = database();
  return db == nullptr ? nullptr : db->eventTable();
}

KTString KTREventStreamReadSession::buildLoadEventSQLQuery(const Parameters& params) {
  const unsigned int sensor = number(params, "sensorid");
  const unsigned int start = number(params, "starttime");
  KTString query;
  if (params.contains("starttime")) {
    query += KTString().format("WHERE timeStamp >= %u ", start);
    if (params.contains("duration")) {
      query += KTString().format("AND timeStamp < %u ", start + number(params, "duration"));
    }
    if (sensor != 0) query += " AND ";
  } else if (sensor != 0) {
    query += " WHERE ";
  }
  if (sensor != 0) query += KTString().format(" sensorID=%u ", sensor);
  query += " ORDER BY timeStamp ";
  if (params["sort"].toUpperCase() == "DESC") query += " DESC ";
  return query;
}

KTString KTREventStreamReadSession::buildLoadTimeOfFirstEventSQLQuery(const Parameters& params) {
  const unsigned int sensor = number(params, "sensorid");
  if (sensor == 0) return KTString::EmptyString;
  return KTString().format(" WHERE sensorID=%u ", sensor);
}

int KTREventStreamReadSession::load(const Parameters& params) {
  KTREventTable* table = eventTable();
  if (table == nullptr || !allowsQuery(params)) return -1;
  if (!params.contains("load_events")) {
    return static_cast<int>(table->getEventListNum(params["event_query"]));
  }
  const KTCriticalCode guard(_eventMutex);
  table->getEventList(_events, params["event_query"]);
  return 1;
}

long KTREventStreamReadSession::getTimeOfFirstEvent(const Parameters& params) {
  KTREventTable* table = eventTable();
  if (table == nullptr || !allowsQuery(params)) return -1;
  return static_cast<long>(table->getMinTimeStamp(params["event_query"]));
}

bool KTREventStreamReadSession::stop() {
  return true;
}

int KTREventStreamReadSession::getFrame(KTDataBlock& frame, unsigned int& timestamp) {
  frame.clear();
  if (eventTable() == nullptr) return -1;
  const KTCriticalCode guard(_eventMutex);
  for (unsigned int taken = 0; taken < MAX_BATCH && !_events.empty(); ++taken) {
    appendRecord(frame, _events.head.next->value);
    _events.remove(_events.head.next);
  }
  timestamp = NO_TIMESTAMP;
  return static_cast<int>(frame.size);
}

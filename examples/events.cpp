// Records three events of two sensors and plays back those of one.
//
//   events RECORDER
#include <cstdio>
#include <string>

#include "handles/KTR_DB_factory.h"
#include "playback/KTREventStreamReadSession.h"
#include "recording/KTREventStreamRecordSession.h"
#include "runtime/KTREventWriter.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr unsigned int DOOR = 3;
constexpr unsigned int MOTION = 4;
constexpr unsigned int EVENT_ID = 1;
constexpr unsigned int BATCH_HEAD_SIZE = 17;  // four numbers and the length of the payload

KTDataBlock makeEvent(unsigned int sensor, unsigned int time, const char* text) {
  KTREventRow row;
  row.sensorID = sensor;
  row.timeStamp = time;
  row.eventID = EVENT_ID;
  row.data = KTString(text).dataBlock();
  return KTREventWriter::build(row);
}

void record(const char* recorder, unsigned int now) {
  KTREventStreamRecordSession session(recorder, 0, KTREventStreamRecordSession::ALL_SENSORS);
  for (const KTDataBlock& event : {makeEvent(DOOR, now, "open"), makeEvent(MOTION, now + 1, "left"),
                                   makeEvent(DOOR, now + 2, "closed")}) {
    session.commit(event, KTRMessageType::FrameData, KTMessage::NormalPriority);
  }
  session.commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
  session.wait();
}

void print(const KTDataBlock& batch) {
  for (unsigned int at = 0; at + BATCH_HEAD_SIZE <= batch.size;) {
    const unsigned char* event = batch.data + at;
    const unsigned int size = event[BATCH_HEAD_SIZE - 1];
    std::printf("%u sensor %u: %.*s\n", loadLittleEndian(event + 4), loadLittleEndian(event),
                static_cast<int>(size), reinterpret_cast<const char*>(event + BATCH_HEAD_SIZE));
    at += BATCH_HEAD_SIZE + size;
  }
}

// A batch holds at most KTREventStreamReadSession::MAX_BATCH events; an empty one is the end.
int play(const char* recorder, unsigned int sensor, unsigned int since) {
  KTRStreamReadSession::Parameters parameters;
  parameters["sensorid"] = KTString(std::to_string(sensor));
  parameters["starttime"] = KTString(std::to_string(since));
  parameters["event_query"] = KTREventStreamReadSession::buildLoadEventSQLQuery(parameters);
  KTREventStreamReadSession session(recorder, 0);
  const int count = session.load(parameters);
  parameters["load_events"] = "";
  if (count < 0 || session.load(parameters) < 0) return -1;

  KTDataBlock batch;
  unsigned int unused = 0;
  while (session.getFrame(batch, unused) > 0) print(batch);
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: events RECORDER\n"), 2;
  KTR_DB_factory factory;
  KTR_DB_handle* database = factory.createDB(argv[1]);
  if (database == nullptr) return 1;

  const auto now = static_cast<unsigned int>(KTTimeValue::now().tv_sec);
  record(argv[1], now);
  const int played = play(argv[1], DOOR, now);
  factory.destroy(database);
  std::printf("played %d events of sensor %u\n", played, DOOR);
  return played == 2 ? 0 : 1;
}

#include "host/events/StoredEvent.h"

#include "runtime/LittleEndian.h"

namespace {

constexpr unsigned int TIME_OFFSET = 4;
constexpr unsigned int ID_OFFSET = 8;
constexpr unsigned int TYPE_OFFSET = 12;
constexpr unsigned int LENGTH_OFFSET = 16;
constexpr unsigned int HEAD_SIZE = 17;

}  // namespace

std::vector<StoredEvent> StoredEvent::parseBatch(const KTDataBlock& batch) {
  std::vector<StoredEvent> events;
  unsigned int at = 0;
  while (batch.size - at >= HEAD_SIZE) {
    const unsigned char* head = batch.data + at;
    const unsigned int length = head[LENGTH_OFFSET];
    if (batch.size - at - HEAD_SIZE < length) break;
    StoredEvent event;
    event.sensor = loadLittleEndian(head);
    event.time = loadLittleEndian(head + TIME_OFFSET);
    event.id = loadLittleEndian(head + ID_OFFSET);
    event.type = loadLittleEndian(head + TYPE_OFFSET) & MAX_TYPE;
    event.data.assign(reinterpret_cast<const char*>(head + HEAD_SIZE), length);
    events.push_back(std::move(event));
    at += HEAD_SIZE + length;
  }
  return events;
}

KTREventRow StoredEvent::row() const {
  KTREventRow row;
  row.sensorID = sensor;
  row.timeStamp = time;
  row.eventID = id;
  row.eventType = type;
  row.data = KTDataBlock(reinterpret_cast<const unsigned char*>(data.data()),
                         static_cast<unsigned int>(data.size()));
  return row;
}

// KTREventFrame on a message that anybody may have made, its mirror KTREventWriter, and the batches
// of played events.
#include "fuzz/FuzzRequire.h"
#include "host/events/StoredEvent.h"
#include "runtime/KTREventFormat.h"
#include "runtime/KTREventFrame.h"
#include "runtime/KTREventWriter.h"
#include "runtime/LittleEndian.h"

using Format = KTREventFormat;

namespace {

void checkRow(const KTREventRow& row) {
  fuzzRequire(row.data.size <= Format::MAX_DATA_SIZE, "no event is larger than one may be");
  fuzzRequire(row.escapedData.empty(), "only the table escapes");
  fuzzRequire(
      row.getQuery() == KTString().format(" ( sensorID,timeStamp,eventID,eventType,data) "
                                          "VALUES ( %u,%u,%u,%u,'' ) ",
                                          row.sensorID, row.timeStamp, row.eventID, row.eventType),
      "bytes of an event reach SQL only through its escaped data");
}

void walk(const KTDataBlock& message) {
  KTREventFrame events;
  unsigned int taken = 0;
  for (bool found = events.parse(message); found; found = events.next()) {
    checkRow(events.getRow());
    const KTDataBlock built = KTREventWriter::build(events.getRow());
    fuzzRequire(built == message.copy(taken, built.size),
                "the writer mirrors the parser, in order");
    taken += built.size;
    fuzzRequire(taken <= message.size, "no event lies outside the message");
  }
  fuzzRequire(events.getRow().data.size == 0, "no event has no bytes");
  fuzzRequire(!events.next(), "a walk that has ended stays ended");
}

// A record of a batch as the event read session packs it.
void append(KTDataBlock& batch, const StoredEvent& event) {
  unsigned char head[17];
  storeLittleEndian(head, event.sensor);
  storeLittleEndian(head + 4, event.time);
  storeLittleEndian(head + 8, event.id);
  storeLittleEndian(head + 12, event.type);
  head[16] = static_cast<unsigned char>(event.data.size());
  batch += KTDataBlock(head, sizeof head);
  batch += event.row().data;
}

void checkBatch(const KTDataBlock& batch) {
  KTDataBlock again;
  const std::vector<StoredEvent> events = StoredEvent::parseBatch(batch);
  for (const StoredEvent& event : events) {
    fuzzRequire(event.data.size() <= StoredEvent::MAX_DATA, "data fits a batch");
    fuzzRequire(event.type <= StoredEvent::MAX_TYPE, "a type has 31 bits");
    append(again, event);
  }
  fuzzRequire(again.size <= batch.size, "no event lies outside the batch");
  fuzzRequire(StoredEvent::parseBatch(again) == events, "events survive a batch");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilentLog::use();
  const KTDataBlock message(data, static_cast<unsigned int>(size));
  walk(message);
  checkBatch(message);
  return 0;
}

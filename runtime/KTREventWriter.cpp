#include "runtime/KTREventWriter.h"

#include "runtime/KTREventFormat.h"
#include "runtime/LittleEndian.h"

using Format = KTREventFormat;

KTDataBlock KTREventWriter::build(const KTREventRow& row) {
  KTDataBlock event(Format::HEAD_SIZE);
  unsigned char* head = event.writable();
  storeLittleEndian(head + Format::SENSOR_OFFSET, row.sensorID);
  storeLittleEndian(head + Format::STAMP_OFFSET, row.timeStamp);
  storeLittleEndian(head + Format::ID_OFFSET, row.eventID);
  storeLittleEndian(head + Format::TYPE_OFFSET, row.eventType);
  storeLittleEndian(head + Format::LENGTH_OFFSET, row.data.size);
  return event += row.data;
}

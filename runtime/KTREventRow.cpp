#include "runtime/KTREventRow.h"

KTREventRow::KTREventRow() = default;

KTREventRow::~KTREventRow() = default;

KTString KTREventRow::getQuery() const {
  KTString query;
  query.format(" ( sensorID,timeStamp,eventID,eventType,data) VALUES ( %u,%u,%u,%u,'", sensorID,
               timeStamp, eventID, eventType);
  return query.append(escapedData).append("' ) ");
}

#pragma once

#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * One event as a row of the event table.
 *
 * Owns: its payload and the escaped form of it.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: timeStamp in seconds of gateway time.
 */
class KTR_API KTREventRow {
 public:
  unsigned int sensorID = 0;
  unsigned int timeStamp = 0;
  unsigned int eventID = 0;
  unsigned int eventType = 0;
  KTDataBlock data;
  /** The payload as SQL text; the event table fills it before it inserts the row. */
  KTString escapedData;

  KTREventRow();
  KTREventRow(const KTREventRow&) = default;
  KTREventRow& operator=(const KTREventRow&) = default;
  virtual ~KTREventRow();

  /** Column list and VALUES part of an insert, from the four numbers and the escaped payload. */
  [[nodiscard]] KTString getQuery() const;
};

#pragma once

#include "containers/KTDLList.h"
#include "db/KTR_DBTable.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTREventRow.h"
#include "runtime/KTRExport.h"

/**
 * The table "eventsList": one row for each sensor event, with its payload.
 *
 * A condition is always the whole tail of the statement, its WHERE included, or empty.
 *
 * Owns: nothing but its name; the connection is the database handle's.
 * Threads: any thread.
 * Blocks: for the server, and for the MySQL mutex.
 * Errors: by result; the failed query itself is logged. An object whose table could not be created
 * answers false to usable(); a handle then has no event table at all (a null pointer).
 * Units: times in seconds of gateway time, payloads in bytes.
 */
class KTR_API KTREventTable : public KTR_DBTable {
 public:
  /** Creates the table when it is missing. */
  explicit KTREventTable(MYSQL* connection);
  ~KTREventTable() override;

  [[nodiscard]] const char* name() const override;
  /** False when the table was neither there nor could be created (logged). */
  [[nodiscard]] bool usable() const { return _usable; }

  /** Adds an event; the payload may hold any bytes. Its new id, or -1. */
  [[nodiscard]] int addRow(const KTREventRow& row);

  /** Deletes the count oldest events; false when that failed (logged). */
  bool deleteRow(unsigned int count);
  /** Deletes all events older than time; false when that failed (logged). */
  bool deleteRowByTime(long time);

  /** The payload of an event and its length; -1 without such an event, and data is as it was. */
  [[nodiscard]] int getEventData(unsigned int id, KTDataBlock& data);
  /**
   * Appends one record for each selected event: id, sensorID, timeStamp, eventID and eventType with
   * its top bit set, 32 bits each in native byte order, then the payload. Returns the list's count.
   */
  unsigned int getEventList(KTDLList<KTDataBlock>& list, const KTString& condition);
  /** Appends the id of each selected event as a text; returns the list's count. */
  unsigned int getEventIDList(KTDLList<KTString>& list, const KTString& condition);
  /** The number of selected events; 0 after a failure too. */
  [[nodiscard]] unsigned int getEventListNum(const KTString& condition);
  /** The time of the oldest selected event; 0 without one. */
  [[nodiscard]] unsigned int getMinTimeStamp(const KTString& condition);

 private:
  [[nodiscard]] unsigned int firstNumber(const KTString& query);

  bool _usable = false;
};

#pragma once

#include "db/KTRVideoStreamRow.h"
#include "db/KTR_DBTable.h"
#include "runtime/KTRExport.h"

/**
 * The frame index of one record session: its rows in the table "dataStreams", which all sessions
 * of a database share. A row says in which slice file, at which offset and at what time an indexed
 * frame lies; there is at most one row for each session and second.
 *
 * Owns: nothing but its name; the connection is the database handle's.
 * Threads: any thread; nothing changes after construction, so a recorder adds while players look
 * up.
 * Blocks: for the server, and for the MySQL mutex that every query takes.
 * Errors: by result. An object whose table could not be created answers false to usable(); such an
 * object is never handed out by a handle, whose createDataStreamTable() and streamInstance() then
 * return null.
 * Units: times in seconds of gateway time, offsets in bytes, delays in microseconds.
 */
class KTR_API KTRStreamTable : public KTR_DBTable {
 public:
  /** Binds the object to a session and creates the shared table when it is missing. */
  KTRStreamTable(unsigned int id, MYSQL* connection);
  ~KTRStreamTable() override;

  [[nodiscard]] const char* name() const override;
  /** The table's name in SQL, the same for every session. */
  [[nodiscard]] static KTString createName(unsigned int id);

  /** The record session that this object looks at. */
  [[nodiscard]] unsigned int sessionID() const { return _id; }
  /** False when the shared table was neither there nor could be created (logged). */
  [[nodiscard]] bool usable() const { return _usable; }

  /**
   * Adds one index row: 0, or what the failed query returned. A second row for a session's second
   * leaves the first one in place and answers 0.
   */
  [[nodiscard]] unsigned int addRow(const KTRVideoStreamRow& row);

  /**
   * Finds the indexed frame to start at for a wanted time. From the start: the first one at or
   * after time. Otherwise the first one from time to time + span, and when there is none, the last
   * one at or before time + span + 5. True: time is the frame's own time, and fileIndex and offset
   * are its place. False: all three are as they were.
   */
  [[nodiscard]] bool getFileIndexNOffset(long& time, unsigned char& fileIndex, unsigned int& offset,
                                         bool fromStart, long span);

  /**
   * The neighbour of a time among the indexed frames: with a positive step the first one after
   * time + step, otherwise the last one before it. True: first is the frame's time and second the
   * session id. False (logged): both are as they were.
   */
  [[nodiscard]] bool getStreamIndexesList(long time, int step, int& first, int& second);

  /** The delay of the last indexed frame at or before an offset of a slice; 0 without one. */
  [[nodiscard]] unsigned int getDelayBetweenFrame(unsigned int offset, unsigned int fileIndex);
  /** The time of the session's earliest indexed frame; 0 without one. */
  [[nodiscard]] unsigned int getOlderKFrameTime();
  /** The slice of the session's earliest indexed frame; -1 without one. */
  [[nodiscard]] int getOlderFileID();

 private:
  [[nodiscard]] bool findFrame(const KTString& query, long& time, unsigned char& fileIndex,
                               unsigned int& offset);
  [[nodiscard]] bool leadingColumns(const KTString& query, KTString (&columns)[3]);

  const unsigned int _id;
  bool _usable = false;
};

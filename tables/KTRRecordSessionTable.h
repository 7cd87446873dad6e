#pragma once

#include "containers/KTDLList.h"
#include "containers/KTMap.h"
#include "containers/KTVector.h"
#include "db/KTRRecorderSessionRow.h"
#include "db/KTR_DBTable.h"
#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"
#include "runtime/ThreadAnnotations.h"

/**
 * The table "recordSessions": one row for each continuous recording of one stream with one
 * settings combination into one storage directory. The row's id names the session's files and its
 * frame index.
 *
 * Recorders move a session's end time many times a second, so changed rows are kept in memory and
 * written at most about every eleven seconds: the cost of a frame is no query. A session whose
 * start or end was never set is written at once. What the readers see is the server's state.
 *
 * Owns: the cache of rows and the set of those that differ from the server.
 * Threads: any thread. The MySQL mutex guards the cache as well, and every writer holds it for its
 * whole run.
 * Blocks: for the server, and for the MySQL mutex.
 * Errors: by result; readers answer "none" and log nothing of their own. A row that could not be
 * written by a flush is not tried again until it changes.
 * Units: times in seconds of gateway time.
 */
class KTR_API KTRRecordSessionTable : public KTR_DBTable {
 public:
  enum timeType { END_TIME = 0, START_TIME = 1 };

  /** Creates the table when it is missing; when that fails (logged) every query will fail. */
  explicit KTRRecordSessionTable(MYSQL* connection);
  /** Writes what is not written yet. The connection must still be there when there is any. */
  ~KTRRecordSessionTable() override;

  [[nodiscard]] const char* name() const override;

  /**
   * Adds an index of the sessions' times, which the table has not by itself, once: the session of a
   * moment is then found without the rows of all that its stream had before, where no settings are
   * asked for. For hosts that keep thousands of sessions, before the first session starts: it holds
   * the MySQL mutex until the server has made it, or another's statement has kept the table for
   * three seconds. False (logged) when it is not there in the end.
   */
  [[nodiscard]] bool indexTimes();

  /** Inserts a session at once, with update_time now: its new id, or -1 (all ones). */
  [[nodiscard]] unsigned int addRow(const KTRRecorderSessionRow& row);

  /** As updateTime(START_TIME, id, time, 0). */
  int updateStartTime(unsigned int id, long time);
  /** As updateTime(END_TIME, id, time, fps). */
  int updateEndTime(unsigned int id, long time, int fps);
  /**
   * Sets a session's start or end time, and its frame rate when fps is positive. 0, or -1 with
   * nothing changed when the session is unknown.
   */
  int updateTime(timeType which, unsigned int id, long time, int fps);
  /** Sets whether the session has data on disk. 0, or -1 (all ones) for an unknown session. */
  unsigned int updateDataAvailable(unsigned int id, unsigned int value);
  /** Writes every changed row: when forced, or when the last flush is more than 10 s away. */
  void updateDataBase(bool force);

  /**
   * Reads a session by its id. True: row is filled, with stream type 3 and frame rate 15 whatever
   * is stored. False: row is as it was.
   */
  [[nodiscard]] bool getRecordSessionRow(unsigned int id, KTRRecorderSessionRow& row);
  /**
   * Finds the session of a stream that covers a time: started by time + span, ended no earlier
   * than time. settingsID 0 takes any settings; a settings text, when not empty, must stand as one
   * of the comma-separated inner pieces of the session's settings string. True: row is the first
   * session that fits, or the last candidate when sessions cover the time but none has the
   * settings. False: no session covers it, and row is as it was.
   */
  [[nodiscard]] bool getRecordSessionRow(unsigned char streamID, long time, long span,
                                         unsigned int settingsID, KTRRecorderSessionRow& row,
                                         KTString settings);
  /** The first session of a stream that starts at or after time. False: row is as it was. */
  [[nodiscard]] bool getNextRecordSessionRow(unsigned char streamID, long time,
                                             unsigned int settingsID, KTRRecorderSessionRow& row);
  /**
   * Fills out with one text for each session that the clause where (such as "WHERE ...", or empty)
   * selects: id, stream, settings id, start, end, data available and frame rate, comma-separated.
   * Grouped, one text for each stream and settings id with the earliest start and the latest end.
   * Returns the number of entries; out is empty after a failure.
   */
  unsigned int getRecordSessionList(KTVector<KTString>& out, const KTString& where, bool grouped);

  /** The oldest session that still has data; -1 without one. */
  [[nodiscard]] int getOlderSessionID();
  /**
   * The oldest session with data whose storage begins with path, and its start time. Without one,
   * and for a path that KTRTextGuard refuses, -1, and startTime is as it was.
   */
  [[nodiscard]] int getOlderSessionIDByPath(const KTString& path, long& startTime);
  /** Replaces ids by the at most 100 oldest such sessions, oldest first; returns their number. */
  unsigned int getOlderSessionIDListByPath(const KTString& path, KTDLList<unsigned int>& ids);
  /** The earliest start time of all sessions; -1 without a session. */
  [[nodiscard]] long getMinStartTime();
  /** The storage directory of a session; empty for an unknown one. */
  [[nodiscard]] KTString getSessionStorage(int id);
  /** Always true: an id's absence cannot be learned from it. */
  bool isIDExists(int id);

 private:
  /** The cached row of a session, read into the cache when it is not there; null without one. */
  [[nodiscard]] KTRRecorderSessionRow* findRow(unsigned int id) KTR_REQUIRES(_staticMysqlMux);
  void writeRow(const KTRRecorderSessionRow& row, const KTTimeValue& now);
  [[nodiscard]] bool readFirstRow(const KTString& query, KTRRecorderSessionRow& row);
  [[nodiscard]] bool settingsContain(unsigned int settingsID, const KTString& settings);

  KTTimeValue _lastFlushTime KTR_GUARDED_BY(_staticMysqlMux);
  KTMap<unsigned int, KTRRecorderSessionRow> _rowCache KTR_GUARDED_BY(_staticMysqlMux);
  KTMap<unsigned int, bool> _dirty KTR_GUARDED_BY(_staticMysqlMux);
};

#pragma once

#include "containers/KTDLList.h"
#include "playback/KTRStreamReadSession.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"
#include "runtime/KTThreadMutex.h"
#include "runtime/ThreadAnnotations.h"

/**
 * Plays back the events of a recorder. A caller builds a condition from parameters, passes it to
 * load() as "event_query" and then either has the number of events or, with "load_events", takes
 * them in batches with getFrame(). No data file is involved; the moves of the base have nothing to
 * act on.
 *
 * Parameters: "sensorid" (0 or missing = every sensor), "starttime" and "duration" (seconds, the
 * latter only with the former), "sort" ("DESC" in any case = newest first) for the builders;
 * "event_query" and "load_events" (its presence alone) for load().
 *
 * Owns: the events that were loaded and not taken yet.
 * Threads: load() and getFrame() may be called from different threads.
 * Blocks: for the database.
 * Errors: -1 when the database or its event table does not exist, and for an "event_query" that is
 *   more than a condition on the numbers of events (see KTRTextGuard).
 * Units: times in seconds since the epoch, on the gateway's clock.
 */
class KTR_API KTREventStreamReadSession : public KTRStreamReadSession {
 public:
  /** Events that one getFrame() hands out at most. */
  static constexpr unsigned int MAX_BATCH = 501;
  /** What getFrame() answers as the time of a batch: its events carry their own. */
  static constexpr unsigned int NO_TIMESTAMP = 999999;

  KTREventStreamReadSession(const KTString& db, unsigned int timeShift);
  ~KTREventStreamReadSession() override;

  /** "KTREventStreamRecordSession": hosts know this session by the recorder's name. */
  [[nodiscard]] const char* name() const override;
  /**
   * The next batch of loaded events and its size in bytes, 0 without events. Each event is sensor,
   * time, id and type with its top bit set, 32 bits little-endian each, one byte with the low 8
   * bits of the payload's length, and the payload. -1 with frame empty on failure.
   */
  [[nodiscard]] int getFrame(KTDataBlock& frame, unsigned int& timestamp) override;
  /**
   * With "load_events": appends the selected events to those that wait, and answers 1. Without:
   * answers the number of selected events. -1 on failure.
   */
  [[nodiscard]] int load(const Parameters& params) override;
  /** Nothing to stop: true. */
  bool stop() override;
  /** The time of the oldest event that "event_query" selects, 0 without one; -1 on failure. */
  [[nodiscard]] virtual long getTimeOfFirstEvent(const Parameters& params);

  /** The condition that selects and orders the events of a sensor and an interval. */
  [[nodiscard]] static KTString buildLoadEventSQLQuery(const Parameters& params);
  /** The condition for getTimeOfFirstEvent(): the events of a sensor, or of all. */
  [[nodiscard]] static KTString buildLoadTimeOfFirstEventSQLQuery(const Parameters& params);

 private:
  [[nodiscard]] KTREventTable* eventTable() const;

  KTThreadMutex _eventMutex{KTThreadMutex::Plain};
  KTDLList<KTDataBlock> _events KTR_GUARDED_BY(_eventMutex);
};

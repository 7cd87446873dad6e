#pragma once

#include "handles/KTR_DB_handle.h"
#include "recording/KTRTask.h"
#include "runtime/KTREventFrame.h"
#include "runtime/KTRExport.h"
#include "runtime/KTThreadMutex.h"
#include "runtime/ThreadAnnotations.h"

/**
 * Stores the events of a recorder: takes messages from its queue, drops the events of sensors that
 * are masked out, tells another task of each of the rest and adds them to the event table.
 *
 * Events come in messages of type FrameData, as docs/format/event.md has them. Silence never ends
 * the session; a Stop message does, after what was committed before and behind it is stored.
 * Without a database the session ends at once: it accepts and stores nothing.
 *
 * Owns: its thread and queue; not the task that it tells of events.
 * Threads: starts its own; commit() and setNotifyTask() from any thread. The destructor stores what
 *   is queued, ends the thread and waits for it.
 * Blocks: the session's thread for the database, never the caller of commit().
 * Errors: log lines. An event that cannot be stored is lost, and the session goes on.
 */
class KTR_API KTREventStreamRecordSession : public KTRTask {
 public:
  /** Sensors that the mask speaks of: 0 to this one. Events of higher sensors are always taken. */
  static constexpr unsigned int LAST_MASKED_SENSOR = 16;
  /** Every sensor. */
  static constexpr unsigned int ALL_SENSORS = 0x1FFFF;

  /**
   * Starts recording into the recorder's database. Bit i of sensorMask takes the events of sensor
   * i. streamNumber is the caller's.
   */
  KTREventStreamRecordSession(const KTString& dbName, unsigned int streamNumber,
                              unsigned int sensorMask);
  ~KTREventStreamRecordSession() override;

  [[nodiscard]] KTString name() const override;
  int run() override;

  [[nodiscard]] unsigned int streamNumber() const { return streamNumber_; }
  /**
   * Sets the task that gets a message of type EventNotice for each accepted event from now on; null
   * for none. Its data: sensor id and event type, 32 bits little-endian each, then the name of the
   * recorder. When the call returns the former task is used no more and may be destroyed. A task
   * that refuses a notice is not asked again for that event.
   */
  void setNotifyTask(KTRTask* task);

 private:
  [[nodiscard]] KTR_DB_handle* openDatabase() const;
  void serve();
  void handle(const KTMessage* message);
  void takeEvents(const KTDataBlock& data);
  void takeEvent(const KTREventRow& event);
  [[nodiscard]] bool accepts(unsigned int sensor) const;
  void notify(const KTREventRow& event);
  void addRow(const KTREventRow& event);

  const KTString dbName_;
  const unsigned int streamNumber_;
  KTThreadMutex notifyMutex_{KTThreadMutex::Plain};
  KTRTask* notifyTask_ KTR_GUARDED_BY(notifyMutex_) = nullptr;
  const unsigned int sensorMask_;
};

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "db/KTRVideoStreamRow.h"
#include "handles/KTR_DB_handle.h"
#include "recording/KTRRecordProgress.h"
#include "recording/KTRStreamRecordParams.h"
#include "recording/KTRTask.h"
#include "runtime/KTRExport.h"
#include "runtime/KTRVideoFrame.h"
#include "runtime/KTThreadMutex.h"
#include "store/KTRFile.h"

/**
 * What the record sessions of video and audio have in common: parameters, the data file being
 * written, the opening of record sessions, recording by events and the conventions of time. Server
 * time is this machine's wall clock in seconds; gateway time is server time minus the session's
 * offset, and all that is stored is in gateway time; frame stamps are milliseconds since the
 * gateway's midnight.
 *
 * Owns: its data file, closed with a flush at destruction.
 * Threads: commit(), setServerTime(), getGatewayTime(), getRealTime(), progress() from any thread;
 *   all else on the session's own.
 * Blocks: builStorageDirName() and mkDirFull() for the file system; all that takes a database
 *   handle for the server too.
 */
class KTR_API KTRStreamRecordSession : public KTRTask {
 public:
  explicit KTRStreamRecordSession(const KTRStreamRecordParams& params);
  ~KTRStreamRecordSession() override;

  [[nodiscard]] KTString name() const override;

  /** True at the first call and then at every fifteenth. */
  [[nodiscard]] virtual bool needRefreshRCRDTable(KTRVideoFrame& frame);
  /** Deletes the oldest slice of a record session; false when nothing was left to cut. */
  virtual bool deleteExtraSlice(KTR_DB_handle* db, unsigned int sessionId);
  /** Opens a record session: its rows and its data file. False, with a log line, on failure. */
  [[nodiscard]] virtual bool startNewSession(KTR_DB_handle* db) = 0;
  /** Stores one parsed frame; true to go on, false to end the session. The base stores none. */
  [[nodiscard]] virtual bool records(KTRVideoFrame& frame);

  /** Sets the offset between the two clocks, both in seconds since the epoch. */
  void setServerTime(long gatewayTime, long serverTime);
  /** Seconds since the epoch on the gateway's clock. */
  [[nodiscard]] long getGatewayTime() const;
  /**
   * Gateway seconds of a frame stamped with milliseconds since midnight. Within ten minutes of
   * midnight the frame may belong to the day before or after the clock's.
   */
  [[nodiscard]] long getRealTime(unsigned int frameStampMs);
  /**
   * Appends the day directory of the current gateway date to dir and creates it. False, with a log
   * line, when a directory cannot be made; dir is changed all the same.
   */
  [[nodiscard]] bool builStorageDirName(KTString& dir);
  /** Creates every missing directory along an absolute path, for the owner alone. */
  [[nodiscard]] bool mkDirFull(const KTString& path);

  [[nodiscard]] KTRRecordProgress progress() const;
  /**
   * What the paths of all files of the record session begin with that was opened last; empty before
   * the first. It outlives the session's row, so that a host can remove the files of a recording by
   * events that nothing has confirmed. To be asked once wait() has returned.
   */
  [[nodiscard]] const KTString& filePrefix() const { return filePrefix_; }

 protected:
  /** Server seconds, as all rules of the sessions count them. */
  [[nodiscard]] static long serverTime();
  /** The recorder's database; null when there is no factory or no such database. */
  [[nodiscard]] KTR_DB_handle* database() const;

  // Opening a record session: recording/KTRStreamRecordSession_start.cpp.
  /** Opens a record session that starts at realTime: its database, or null on failure. */
  [[nodiscard]] KTR_DB_handle* openRecordSession(long realTime);
  /** Stores the stream's settings unless they are stored; false on failure. */
  [[nodiscard]] static bool addSettings(KTR_DB_handle* db, const KTRSettingsRow& settings);
  /** The row of a new record session, as both kinds of stream fill it. */
  [[nodiscard]] KTRRecorderSessionRow newSessionRow(const KTString& storage,
                                                    unsigned int settingsId,
                                                    streamTypes kind) const;
  /** Inserts the row, whose id becomes sessionId_; false when there is no new row. */
  [[nodiscard]] bool insertSessionRow(KTR_DB_handle* db, const KTRRecorderSessionRow& row);
  /** Closes the previous data file and opens the chain of sessionId_; false when that fails. */
  [[nodiscard]] bool openDataFile(KTR_DB_handle* db);
  /** Marks the record session as one that has data; false, with a log line, on failure. */
  [[nodiscard]] bool markAvailable(KTR_DB_handle* db) const;
  /** Passes on whether the record session's row was updated; logs an error when it was not. */
  [[nodiscard]] bool rowUpdated(bool updated) const;
  /** Logs an error; false. */
  [[nodiscard]] static bool refused(const char* text);

  // What messages ask for: recording/KTRStreamRecordSession_records.cpp.
  /** Passes every frame of a message to records(); when that answers false the session ends. */
  void takeFrames(const KTDataBlock& data, KTRVideoFrame& parser);
  /** Keeps the record session of a recording by events, and goes on without interruption. */
  void confirmEvent();
  /** A session by events that no event has confirmed so far. */
  [[nodiscard]] bool isUnconfirmed() const {
    return params_.recordMode == KTRStreamRecordParams::ByEvents;
  }
  /**
   * Removes a record session by events that was not confirmed; text takes its id for the log. Logs
   * alone when db is null.
   */
  void removeUnconfirmed(KTR_DB_handle* db, const char* text) __attribute__((format(printf, 3, 0)));

  /** Notes the stamp of an indexed frame; one that runs backwards asks for a new record session. */
  void followFrameClock(unsigned int stampMs);
  /** Appends one frame to the data file and counts it: 0, or -1. */
  [[nodiscard]] int store(const KTDataBlock& frame);
  /** Counts an indexed frame of a recording by events; cuts and deletes slices as they are due. */
  void cutByEventsSlice(KTR_DB_handle* db);
  /** Logs an error with the slice, the record session and the offset; false. */
  [[nodiscard]] bool refusedAt(const char* text) const __attribute__((format(printf, 2, 0)));

  KTThreadMutex timeMutex_{KTThreadMutex::Plain};
  KTRStreamRecordParams params_;
  std::unique_ptr<KTRFile> file_;
  KTString filePrefix_;
  int sessionFlag_ = 1;
  unsigned int refreshPeriod_ = 15;
  unsigned int refreshCounter_ = 0;
  unsigned int sessionId_ = 0;
  bool recording_ = false;
  bool needNewSession_ = true;
  std::atomic<int> timeOffset_{0};  // written under timeMutex_, read with and without it
  KTRVideoStreamRow currentRow_;
  unsigned int prevKeyStamp_ = 0;
  unsigned int keyFramesInSlice_ = 0;  // indexed frames, of a video key frames
  unsigned int slicesKept_ = 0;
  const unsigned int keyFramesPerSlice_;
  const unsigned int maxSlices_;

 private:
  void publishSession();

  std::atomic<unsigned int> shownSession_{0};
  std::atomic<unsigned int> shownSlice_{0};
  std::atomic<unsigned int> shownSliceBytes_{0};
  std::atomic<std::uint64_t> shownFrames_{0};
  std::atomic<std::uint64_t> shownBytes_{0};
};

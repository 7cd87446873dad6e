#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

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
 * written and the conventions of time. Server time is this machine's wall clock in seconds; gateway
 * time is server time minus the session's offset, and all that is stored is in gateway time; frame
 * stamps are milliseconds since the gateway's midnight.
 *
 * Owns: its data file, closed with a flush at destruction.
 * Threads: commit(), setServerTime(), getGatewayTime(), getRealTime(), progress() from any thread;
 *   all else on the session's own.
 * Blocks: builStorageDirName() and mkDirFull() for the file system.
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

 protected:
  static constexpr int TIMEOUT_SECONDS = 15;

  /** Server seconds, as all rules of the sessions count them. */
  [[nodiscard]] static long serverTime();
  /** Closes the previous data file and opens the chain of sessionId_; false when that fails. */
  [[nodiscard]] bool openDataFile(KTR_DB_handle* db);
  /** Appends one frame to the data file and counts it: 0, or -1. */
  [[nodiscard]] int store(const KTDataBlock& frame);
  /** Makes what the current record session is known to progress(). */
  void publishSession();

  KTThreadMutex timeMutex_{KTThreadMutex::Plain};
  KTRStreamRecordParams params_;
  std::unique_ptr<KTRFile> file_;
  int sessionFlag_ = 1;
  unsigned int refreshPeriod_ = 15;
  unsigned int refreshCounter_ = 0;
  unsigned int sessionId_ = 0;
  bool recording_ = false;
  bool needNewSession_ = true;
  std::atomic<int> timeOffset_{0};  // written under timeMutex_, read with and without it

 private:
  std::atomic<unsigned int> shownSession_{0};
  std::atomic<unsigned int> shownSlice_{0};
  std::atomic<std::uint64_t> shownFrames_{0};
  std::atomic<std::uint64_t> shownBytes_{0};
};

#pragma once

#include <atomic>
#include <memory>

#include "containers/KTMap.h"
#include "db/KTRRecorderSessionRow.h"
#include "db/KTRSettingsRow.h"
#include "handles/KTR_DB_handle.h"
#include "runtime/KTRExport.h"
#include "runtime/KTString.h"
#include "runtime/KTThreadMutex.h"
#include "store/KTRFile.h"

/**
 * The base of every playback session: finds the record session that covers a wanted time, opens its
 * data file there and moves through the recording on request. Frames are delivered by the derived
 * sessions.
 *
 * Parameters are decimal texts under fixed keys; a missing key reads as 0 or an empty text:
 * "streamid", "starttime" (seconds since the epoch), "settingsid" (0 = any), "duration" (seconds),
 * "size" (a piece of the settings text, such as a picture size; one that KTRTextGuard refuses
 * matches nothing). "framerate" and "bitrate" are read and not used.
 *
 * Truth values are ints, 1 and 0: the event session answers counts and -1 through the same calls.
 *
 * Owns: the open data file.
 * Threads: one thread may move while another reads frames; load() and loadNextRecordSession() by
 *   one thread at a time.
 * Blocks: for the database and the file system. A move waits for a frame read in progress.
 * Errors: false, with a warning in the log for failed moves; the position is then as it was, except
 *   where another slice had to be opened. Once read-ahead has reached the end of the recording the
 *   moves fail and a load() with a new "starttime" goes on.
 */
class KTR_API KTRStreamReadSession {
 public:
  using Parameters = KTMap<KTString, KTString>;

  /** A session on a recorder's database; timeShift is server time minus gateway time, seconds. */
  KTRStreamReadSession(const KTString& db, unsigned int timeShift);
  KTRStreamReadSession(const KTRStreamReadSession&) = delete;
  KTRStreamReadSession& operator=(const KTRStreamReadSession&) = delete;
  virtual ~KTRStreamReadSession();

  [[nodiscard]] virtual const char* name() const;
  /** The next frame; frame is untouched when there is none. timestamp is left as it is. */
  [[nodiscard]] virtual int getFrame(KTDataBlock& frame, unsigned int& timestamp);
  /**
   * Finds the recording at "starttime" and opens it there. On a loaded session a map without
   * "starttime" or "streamid" just resumes playing. After a failure nothing plays.
   */
  [[nodiscard]] virtual int load(const Parameters& params);
  /** Tells whether load() would find data, without opening a file or moving. */
  [[nodiscard]] virtual int dummyload(const Parameters& params);
  /** Goes on in the stream's next record session, when the current files have no more frames. */
  [[nodiscard]] virtual bool loadNextRecordSession();
  /** Pauses at the point of the last load. */
  virtual bool stop();
  /** Moves back by seconds and plays, also when the move failed. */
  virtual bool rewind(unsigned int seconds);
  /** Moves on by seconds and plays, also when the move failed. */
  virtual bool forward(unsigned int seconds);
  virtual bool pause();
  /** Opens a slice of the current record session at a record's offset. */
  [[nodiscard]] virtual bool openFileNSeekIt(int fileIndex, int offset);
  /** Moves by seconds within the current record session; 0 goes back to the last load's point. */
  [[nodiscard]] virtual bool seek(int seconds);

  /** Held around every frame read. */
  void lockFile() KTR_ACQUIRE(_fileMutex);
  void unlockFile() KTR_RELEASE(_fileMutex);

  /** Seconds since the epoch of a stamp of the last 24 hours. */
  [[nodiscard]] long getRealTime(unsigned int frameTimeMs) const;
  /** Seconds since the epoch of a stamp within 24 hours from baseTime on; baseTime for stamp 0. */
  [[nodiscard]] static long getRealTimeWithBaseTime(long baseTime, long frameTimeMs);

  /** Whether the factory knew the database at construction. */
  [[nodiscard]] bool databaseAvailable() const { return _dbAvailable; }
  /** Seconds since the epoch at which the loaded recording begins to play. */
  [[nodiscard]] long startTime() const { return _startTime; }
  /** The record session being played; by the thread that loads. */
  [[nodiscard]] const KTRRecorderSessionRow& recordSession() const { return _recordSession; }
  /** The settings of the record session being played; by the thread that loads. */
  [[nodiscard]] const KTRSettingsRow& settings() const { return _settings; }

 protected:
  /** The session's database; null when there is no factory, database or table. */
  [[nodiscard]] KTR_DB_handle* database() const;
  /** Whether there is a file to read from and the session plays. */
  [[nodiscard]] bool mayRead() const KTR_REQUIRES(_fileMutex) {
    return _file != nullptr && _playing;
  }

  KTString _dbName;
  unsigned int _streamId = 0;
  KTThreadMutex _fileMutex{KTThreadMutex::Plain};
  std::unique_ptr<KTRFile> _file KTR_GUARDED_BY(_fileMutex);
  unsigned int _fileSession KTR_GUARDED_BY(_fileMutex) = 0;  // record session that it belongs to
  unsigned char _fileIndex = 0;
  unsigned int _fileOffset = 0;
  long _startTime = 0;
  std::atomic<bool> _playing{false};
  bool _dbAvailable = false;
  unsigned int _settingsId = 0;
  KTRSettingsRow _settings;
  KTRRecorderSessionRow _recordSession;
  bool _loaded = false;
  long _timeShift;

 private:
  [[nodiscard]] bool isResume(const Parameters& params) const;
  [[nodiscard]] bool isAudio() const;
  [[nodiscard]] bool loadSettings(KTR_DB_handle* db, unsigned int settingsId);
  [[nodiscard]] bool findStart(KTR_DB_handle* db, unsigned int duration);
  [[nodiscard]] bool openAtStart();
};

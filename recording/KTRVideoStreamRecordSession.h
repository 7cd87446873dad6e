#pragma once

#include "db/KTRVideoStreamRow.h"
#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"

/**
 * Records one video stream: takes messages from its queue, appends every frame to the data file,
 * writes an index row at most once a second of key frames (every 3 seconds for JPEG pictures) and
 * keeps the record session's row up to date.
 *
 * The first message after construction must be the time message, the second must hold a key frame.
 * The session ends by itself after 15 seconds without a message, 180 seconds without a key frame,
 * when recording falls 300 seconds behind, when frames come from more than an hour ahead, and when
 * the data file or the database fails; then commit() answers -1 and the object is to be destroyed.
 *
 * Owns: its thread, queue and data file.
 * Threads: starts its own; see KTRStreamRecordSession for what other threads may call. The
 *   destructor ends the thread and waits for it; frames that are still queued are dropped, so a
 *   host that wants them stored commits a Stop message and waits until alive() is false.
 * Blocks: the session's thread for the file system and the database, never the caller of commit().
 * Errors: the log says why a session ended, with priority 64 or 128.
 */
class KTR_API KTRVideoStreamRecordSession : public KTRStreamRecordSession {
 public:
  explicit KTRVideoStreamRecordSession(const KTRStreamRecordParams& params);
  ~KTRVideoStreamRecordSession() override;

  [[nodiscard]] KTString name() const override;
  int run() override;
  [[nodiscard]] bool startNewSession(KTR_DB_handle* db) override;
  [[nodiscard]] bool records(KTRVideoFrame& frame) override;

 protected:
  /** Makes the index row of a key frame; false ends the session. */
  [[nodiscard]] bool updateVideoRecordSessionInfo(KTRVideoFrame& frame, long realTime,
                                                  KTR_DB_handle* db);
  void resetVideoSessionRecordVariables();

 private:
  // The run loop: recording/KTRVideoStreamRecordSession.cpp.
  void noteTurn();
  void handle(KTMessage* message, KTRVideoFrame& parser);
  void takeTime(const KTDataBlock& data);
  void superviseKeyFrames();
  void switchToByEvents(KTRVideoFrame& parser);

  // Opening a record session: recording/KTRVideoStreamRecordSession_start.cpp.
  [[nodiscard]] bool openSession(long realTime);
  [[nodiscard]] bool addSessionRow(KTR_DB_handle* db, const KTString& storage,
                                   unsigned int settingsId);
  [[nodiscard]] bool removeHalfBornRow(KTR_DB_handle* db, const KTRRecorderSessionRow& row);

  // The road of one frame: recording/KTRVideoStreamRecordSession_records.cpp.
  [[nodiscard]] bool storeFrame(KTRVideoFrame& frame);
  [[nodiscard]] bool recordJpegRow(KTRVideoFrame& frame, long realTime, KTR_DB_handle* db);
  void noteKeyStamp(unsigned int stamp);
  [[nodiscard]] bool isTimely(const KTRVideoFrame& frame, long realTime);
  [[nodiscard]] unsigned int frameInterval() const;
  [[nodiscard]] bool writePendingRow(long realTime, KTR_DB_handle* db);

  KTRVideoStreamRow pendingRow_;
  bool havePendingRow_ = false;
  unsigned int frameCount_ = 0;
  unsigned int lastKeyStamp_ = 0;
  unsigned int keyInterval_ = 0;
  KTTimeValue turnStart_;
  KTTimeValue turnNow_;
  KTTimeValue turnLength_;
  unsigned int defaultFrameInterval_;
  unsigned int sessionFrameInterval_;
  long lastRowTime_ = 0;
  long lastKeyFrameClock_ = 0;
  unsigned int lastJpegRowStamp_ = 0;
  KTMessage* stopMessage_ = nullptr;  // kept by the loop; released with the object
};

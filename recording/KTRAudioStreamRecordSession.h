#pragma once

#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTRExport.h"

/**
 * Records one audio stream: takes messages from its queue, appends every frame to the data file,
 * writes an index row for each (those of one second collapse to the first) and keeps the record
 * session's row up to date. The very first frame is the stream's header, which a decoder needs in
 * front of all others: its payload goes into a header file of its own, at the start of every record
 * session anew, and never into the data file.
 *
 * The session takes no time message; a host that knows the gateway's clock calls setServerTime().
 * It ends by itself after 15 seconds without a message, and when the header, the data file or the
 * database fails; then commit() answers -1 and the object is to be destroyed.
 *
 * Owns: its thread, queue and data file.
 * Threads: starts its own; see KTRStreamRecordSession for what other threads may call. The
 *   destructor ends the thread and waits for it; frames that are still queued are dropped, so a
 *   host that wants them stored commits a Stop message and waits until alive() is false.
 * Blocks: the session's thread for the file system and the database, never the caller of commit().
 * Errors: the log says why a session ended, with priority 64 or 128.
 */
class KTR_API KTRAudioStreamRecordSession : public KTRStreamRecordSession {
 public:
  /** Bytes at the start of the header frame that are not part of the header file: its head. */
  static constexpr unsigned int HEADER_OFFSET = 9;

  explicit KTRAudioStreamRecordSession(const KTRStreamRecordParams& params);
  ~KTRAudioStreamRecordSession() override;

  [[nodiscard]] KTString name() const override;
  int run() override;
  [[nodiscard]] bool startNewSession(KTR_DB_handle* db) override;
  [[nodiscard]] bool records(KTRVideoFrame& frame) override;
  /**
   * Writes a frame's bytes from HEADER_OFFSET on into the current record session's header file,
   * whole. False when the frame is shorter, with nothing written, and when the file cannot be
   * written (logged).
   */
  [[nodiscard]] bool saveHeader(const KTDataBlock& header);

 protected:
  void resetSessionRecordVariables();

 private:
  // The run loop: recording/KTRAudioStreamRecordSession.cpp.
  void handle(const KTMessage* message, KTRVideoFrame& parser);

  // Opening a record session: recording/KTRAudioStreamRecordSession_start.cpp.
  [[nodiscard]] bool openSession(long realTime);

  // The road of one frame: recording/KTRAudioStreamRecordSession_records.cpp.
  [[nodiscard]] bool addIndexRow(long realTime, KTR_DB_handle* db);

  KTDataBlock audioHeader_;  // the first frame, head included
};

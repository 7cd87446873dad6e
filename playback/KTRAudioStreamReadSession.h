#pragma once

#include "playback/KTRStreamReadSession.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"

/**
 * Plays an audio recording frame by frame. The first frame after construction, and after every
 * setNeedHeader(true), carries the stream's header in front of its own payload, so that a decoder
 * gets it first; its length field covers both. The library asks for the header only once: whoever
 * loads another record session for a new decoder sets the flag again.
 *
 * Owns: the header that was read last.
 * Threads, Blocks: as KTRStreamReadSession. getFrame() and setNeedHeader() may be called from
 *   another thread than the moves.
 * Errors: false. Without its header file a recording yields no frame while the header is wanted,
 *   and none is lost.
 * Units: bytes.
 */
class KTR_API KTRAudioStreamReadSession : public KTRStreamReadSession {
 public:
  /** What a longer header file is cut to. */
  static constexpr unsigned int MAX_HEADER_SIZE = 4096;

  using KTRStreamReadSession::KTRStreamReadSession;
  ~KTRAudioStreamReadSession() override;

  [[nodiscard]] const char* name() const override;
  /**
   * The next frame, with the header if it is wanted. False with frame untouched when paused, at the
   * end or without a header file; when the read of a frame for the header fails, false with frame
   * empty, and the header is wanted no more.
   */
  [[nodiscard]] int getFrame(KTDataBlock& frame, unsigned int& timestamp) override;
  /** Whether the next frame must carry the header; true at first. */
  virtual void setNeedHeader(bool needHeader);

  /**
   * Reads the header file of the record session whose data file is open; the caller holds the file
   * lock. False, with an empty header, when the file is missing or empty.
   */
  [[nodiscard]] bool loadAudioHeader() KTR_REQUIRES(_fileMutex);

 private:
  [[nodiscard]] bool readFrame(KTDataBlock& frame) KTR_REQUIRES(_fileMutex);
  [[nodiscard]] bool readWithHeader(KTDataBlock& frame) KTR_REQUIRES(_fileMutex);
  [[nodiscard]] KTDataBlock splice(const KTDataBlock& raw) const KTR_REQUIRES(_fileMutex);

  bool _needHeader KTR_GUARDED_BY(_fileMutex) = true;
  KTDataBlock _streamHeader KTR_GUARDED_BY(_fileMutex);
};

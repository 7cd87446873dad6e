#pragma once

#include <cstdint>
#include <deque>

#include "host/play/StampUnwrapper.h"
#include "playback/KTRVideoStreamReadSession.h"
#include "runtime/KTRVideoFrame.h"

/**
 * Reads one stream of a recorder by time, as a person means it: from the last key frame at or
 * before a moment on, over the ends of record sessions, frame by frame with absolute times.
 *
 * Every move is a load with a new start time: that works on recordings in progress as well.
 *
 * Owns: the read session.
 * Threads: one thread at a time for each object.
 * Blocks: for the database and the disk.
 * Errors: false from seek() and next(); nothing throws.
 */
class RecordingReader {
 public:
  struct Frame {
    KTRVideoFrame frame;
    std::int64_t timeMs = 0;  // since the epoch, decoding time
  };

  RecordingReader(const KTString& recorder, unsigned char stream);

  /**
   * Goes to a moment, seconds since the epoch. Where nothing was recorded then, to the first frame
   * behind it that begins before the end of the span. False when there is none.
   */
  [[nodiscard]] bool seek(std::int64_t seconds, std::int64_t spanSeconds);
  /** Goes to the last key frame that a recording holds by now. False when there is none. */
  [[nodiscard]] bool seekLast();
  /** The next frame; false when the recording holds no more, for now. */
  [[nodiscard]] bool next(Frame& frame);
  /**
   * After next() answered false on a recording in progress: looks again behind the last frame that
   * was read. True when there are more frames now.
   */
  [[nodiscard]] bool resume();

  /** Codec name of the recording that is being read, such as "h264". */
  [[nodiscard]] KTString codec() const;

 private:
  [[nodiscard]] bool begin(std::int64_t seconds, std::int64_t spanSeconds);
  [[nodiscard]] bool beginNear(std::int64_t seconds);
  [[nodiscard]] bool beginInLastSession(std::int64_t seconds);
  [[nodiscard]] bool skipTo(std::int64_t timeMs);
  [[nodiscard]] bool read(Frame& frame);
  [[nodiscard]] bool nextSession();

  KTString recorder_;
  unsigned char stream_;
  KTRVideoStreamReadSession session_;
  StampUnwrapper stamps_;
  std::deque<Frame> ahead_;      // read already, not handed out
  std::int64_t lastMs_ = 0;      // of the frame read last
  std::int64_t endSeconds_ = 0;  // of the wanted span
};

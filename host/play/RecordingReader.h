#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "host/play/AudioSessionPlayer.h"
#include "host/play/RepeatedFrames.h"
#include "host/play/SessionPlayer.h"
#include "host/play/StampUnwrapper.h"
#include "runtime/KTRVideoFrame.h"

/**
 * Reads one stream of a recorder by time, as a person means it: from the last key frame at or
 * before a moment on, over the ends of record sessions, frame by frame with absolute times. Every
 * frame of sound is a key frame.
 *
 * A session that follows one that died begins with frames that the dead one has too, since it must
 * begin at a key frame: these are handed out once.
 *
 * Every move is a load with a new start time: that works on recordings in progress as well.
 *
 * Owns: the read session.
 * Threads: one thread at a time for each object.
 * Blocks: for the database and the disk.
 * Errors: false from the operations; nothing throws. Record sessions whose files are gone or cannot
 *   be read are passed over.
 */
class RecordingReader {
 public:
  enum Kind { Video, Audio };

  struct Frame {
    KTRVideoFrame frame;
    std::int64_t timeMs = 0;                         // since the epoch, decoding time
    KTString codec;                                  // as codec()
    unsigned int session = 0;                        // id of its record session
    std::shared_ptr<const AudioHeader> audioHeader;  // null for pictures, and when it is damaged
  };

  RecordingReader(const KTString& recorder, unsigned char stream, Kind kind = Video);

  /**
   * Goes to a moment, seconds since the epoch. Where nothing was recorded then, to the first frame
   * behind it that begins before the end of the span. False when there is none.
   */
  [[nodiscard]] bool seek(std::int64_t seconds, std::int64_t spanSeconds);
  /** Goes to the last key frame that a recording holds by now. False when there is none. */
  [[nodiscard]] bool seekLast();
  /** The next frame; false, frame untouched, when the recording holds no more, for now. */
  [[nodiscard]] bool next(Frame& frame);
  /**
   * After next() answered false on a recording in progress: looks again behind the last frame that
   * was read. True when there are more frames now.
   */
  [[nodiscard]] bool resume();

  /** Codec name of the frame that comes next, such as "h264". */
  [[nodiscard]] const KTString& codec() const;
  /** Time of the frame that comes next; only after a move that answered true. */
  [[nodiscard]] std::int64_t timeMs() const { return ahead_.front().timeMs; }

 private:
  using Row = KTRRecorderSessionRow;

  // Finding record sessions.
  [[nodiscard]] KTRRecordSessionTable* sessions() const;
  [[nodiscard]] bool findSession(const KTString& condition, Row& row) const;
  [[nodiscard]] bool findBefore(std::int64_t seconds, Row& row) const;
  [[nodiscard]] bool findBehind(const Row& session, Row& row) const;

  // Moving: after true the frame to begin at is the only one in ahead_.
  [[nodiscard]] bool enterNear(const Row& row, std::int64_t seconds);
  [[nodiscard]] bool enterStart(const Row& row);
  [[nodiscard]] bool enterBehind(const Row& session);
  [[nodiscard]] bool load(const Row& row, std::int64_t seconds);
  [[nodiscard]] bool loadStart(const Row& row);
  void enter(const Row& row, const Frame& first);
  [[nodiscard]] bool nextSession();
  [[nodiscard]] bool goOn();
  [[nodiscard]] bool skipTo(std::int64_t timeMs);
  [[nodiscard]] bool skipRepeated();

  // Reading in the current record session.
  [[nodiscard]] bool take(Frame& frame);
  [[nodiscard]] bool read(Frame& frame);

  KTString recorder_;
  unsigned char stream_;
  std::unique_ptr<SessionPlayer> video_;
  std::unique_ptr<AudioSessionPlayer> audio_;  // one of the two
  KTRStreamReadSession& session_;              // that one
  StampUnwrapper stamps_;
  KTString codec_;               // of the session being read
  Row current_;                  // the session being read
  unsigned int completeId_ = 0;  // a session that was read after it had ended
  std::deque<Frame> ahead_;      // read already, not handed out
  RepeatedFrames repeated_;
  std::int64_t lastMs_ = 0;  // of the frame handed out last
};

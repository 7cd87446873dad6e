#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/byevents/EventWindow.h"
#include "host/record/StreamFrame.h"
#include "recording/KTRStreamRecordSession.h"

/**
 * One record session that is fed frames with times of their own: it is told the gateway's time
 * before its first frame, and again where the frames come slower or faster than the clock runs. It
 * follows how many of its frames are on disk.
 *
 * Owns: the session.
 * Threads: one thread at a time for each object, but for finish(), which may run beside calls of
 *   progress() and queueLength(), and for writeSidecar() and isFileGone(), which may run beside
 *   all calls but each other.
 * Blocks: finish(), close() and the destructor until the session is over; isFileGone() for the
 *   disk, writeSidecar() for the database as well.
 */
class FedSession {
 public:
  /** Messages that a session is given ahead: below what it complains about. */
  static constexpr unsigned int LONGEST_QUEUE = 16;
  static_assert(LONGEST_QUEUE > KTRTask::REST_MESSAGES, "a full queue would rest");
  /** A session is told the time when its clock is further from a frame's. */
  static constexpr long LARGEST_LAG_SECONDS = 30;
  /** Slices after which a session is to be followed by another; the ring has 256. */
  static constexpr unsigned int LAST_SLICE = 200;

  /** Opens a session that begins with this frame, which is then to be given to it. */
  FedSession(const KTRStreamRecordParams& params, const StreamFrame& first, EventWindow* window);
  FedSession(const FedSession&) = delete;
  FedSession& operator=(const FedSession&) = delete;
  ~FedSession();

  /** Whether a frame belongs into this session, behind those that it has. */
  [[nodiscard]] bool fits(const StreamFrame& frame) const;
  /** Gives a frame to the session; false when it cannot take it now, or never. */
  [[nodiscard]] bool take(const StreamFrame& frame);
  [[nodiscard]] bool alive() const { return session_->alive(); }
  [[nodiscard]] KTRRecordProgress progress() const { return session_->progress(); }
  [[nodiscard]] unsigned int queueLength() const { return session_->queueLength(); }
  [[nodiscard]] std::uint64_t taken() const { return taken_; }
  /** Frames that are on disk for sure; to be called often, as the session's clock is seen to too.
   */
  [[nodiscard]] std::uint64_t settled();
  /** Whether the next frame brings others to the disk. */
  [[nodiscard]] bool flushIsDue() const;

  /** Seconds of the first frame, and of the last one that the session was given. */
  [[nodiscard]] long firstTime() const { return firstTime_; }
  [[nodiscard]] long lastTime() const { return static_cast<long>(lastMs_ / 1000); }
  /** A record session that this one has opened: its row, and the second it began in. */
  struct Opened {
    unsigned int id = 0;
    long begun = 0;
    std::uint64_t framesBefore = 0;
    bool noted = false;
  };

  /** One that has stored something and was not noted yet. */
  [[nodiscard]] std::optional<Opened> unnoted();
  /** Its row is in order. */
  void note(unsigned int id);
  /** Tells beside its files what stream they are of, for a repair without a database. */
  void writeSidecar(unsigned int id);
  /**
   * Whether somebody has removed the file that is written, after writeSidecar(): a session would
   * go on writing into it.
   */
  [[nodiscard]] bool isFileGone();

  /** In a recording by events: passes on what its window has to know of the session. */
  void followWindow();
  /** After finish(): whether the footage was kept. */
  [[nodiscard]] bool isKept();

  /** Has the session store what it was given and end; waits for that. */
  void finish();
  /**
   * After the end, and after isKept(): closes the file. Bytes of it that should be on disk and are
   * not.
   */
  [[nodiscard]] std::uint64_t close();

 private:
  struct Sample {
    long second;
    std::uint64_t frames;
  };

  void open(const StreamFrame& first);
  void look();
  void tellTime(long frameSecond);
  void holdClock();
  [[nodiscard]] bool isLate(long frameSecond) const;

  KTRStreamRecordParams params_;
  const std::shared_ptr<const StreamSettings> settings_;
  EventWindow* const window_;  // null for one that records all
  const long firstTime_;
  std::unique_ptr<KTRStreamRecordSession> session_;
  long offset_ = 0;  // server time minus frame time, seconds
  std::uint64_t taken_ = 0;
  std::int64_t lastMs_;
  std::deque<Sample> samples_;  // when so many frames were in the file at the latest
  Sample last_{0, 0};
  std::uint64_t settled_ = 0;
  std::vector<Opened> opened_;
  bool kept_ = true;
  unsigned int filesOf_ = 0;  // the record session of which files_ is known
  std::string files_;         // what their paths begin with; empty when that is not known
  std::string seenFile_;      // the last of them that was there
};

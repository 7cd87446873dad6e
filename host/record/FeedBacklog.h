#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "host/record/FrameSpool.h"
#include "runtime/KTClock.h"

/**
 * The frames of one stream from their arrival until they are safely recorded, in order. Three parts
 * follow each other: those in hand, which have been given to the running record session or are
 * given next; those that wait in the spool; those that came last, where the spool does not take
 * them.
 *
 * Frames in hand are kept until their session has them on disk, and beyond that the group of
 * pictures that they end in: so a session that dies is followed by one that begins again at a key
 * frame, and no frame is lost between the two.
 *
 * The spool is what outlives the process, so nothing stays in memory alone for longer than a frame
 * may be in a session that works: where the session does not get on, all in hand has a copy in the
 * spool, in front of the frames that wait there.
 *
 * Owns: its frames and the spool.
 * Threads: one thread at a time for each object.
 * Blocks: for the file system where the spool is used.
 * Errors: what finds no room is dropped, whole groups of pictures and the oldest first; lost()
 *   counts it.
 * Units: bytes.
 */
class FeedBacklog {
 public:
  /** Frames that wait in memory for a session before the spool is used. */
  static constexpr std::uint64_t SHARE_IN_HAND = 4U << 20;
  /** Frames that wait in memory at most, where there is no spool or it takes no more. */
  static constexpr std::uint64_t LARGEST_WAIT = 64U << 20;
  /** Frames in hand at most before no more are read from the spool. */
  static constexpr std::uint64_t LARGEST_HAND = 64U << 20;
  /** Frames in hand at most before they are let go of without their file having been seen. */
  static constexpr std::uint64_t LARGEST_UNSEEN = 2 * LARGEST_HAND;
  /** Of a group of pictures that is on disk, the most that is kept to begin again with. */
  static constexpr std::uint64_t LARGEST_GROUP = 32U << 20;
  /** A spool that refused a frame is tried again after this. */
  static constexpr KTClock::Span SPOOL_PAUSE = std::chrono::seconds(30);
  /** The flush interval: nothing stays in memory for longer where the session does not get on. */
  static constexpr KTClock::Span LONGEST_IN_MEMORY = std::chrono::seconds(11);
  /** A session does not get on when it has left a frame for so long. */
  static constexpr KTClock::Span STALL = std::chrono::seconds(1);

  /** streamId is for the log. */
  FeedBacklog(int streamId, std::string spoolDirectory, std::uint64_t spoolLimit)
      : streamId_(streamId), spool_(std::move(spoolDirectory), spoolLimit) {}

  /** Adds the frame that came last. */
  void push(const StreamFrame& arriving);
  /** Spools what has been in memory for too long; to be called often. */
  void spoolOverdue();
  /**
   * Of the frames that an earlier process has left, those of which isStored says that they are
   * recorded are passed over, or kept only to begin a session with.
   */
  void skipStored(std::function<bool(const StreamFrame&)> isStored) {
    isStored_ = std::move(isStored);
  }

  /**
   * A new session takes what is not recorded. To begin at a key frame it is given some frames that
   * are recorded already: their number. Nothing when there is no frame to begin with.
   */
  [[nodiscard]] std::optional<std::uint64_t> begin();
  /** The frame to be given next to the running session; null when there is none for now. */
  [[nodiscard]] const StreamFrame* next();
  /** That frame was given. */
  void given();
  /**
   * Whether the next frame that the running session stores brings others to the disk. Only then are
   * frames read from the spool while those in hand fill the memory that there is for them.
   */
  void noteFlush(bool isDue) { flushIsDue_ = isDue; }
  /** So many of the frames that the running session was given are in its file, or on their way. */
  void noteStored(std::uint64_t ofGiven) { stored_ = ofGiven; }
  /** Whether the frames in hand are too many to wait for a look at their file. */
  [[nodiscard]] bool isHandFull() const { return handBytes_ >= LARGEST_UNSEEN; }
  /** So many of the frames that the running session was given are on disk. */
  void settle(std::uint64_t ofGiven);
  struct Recorded {
    std::uint64_t frames = 0;  // of those that the session was given
    std::int64_t timeMs = 0;   // of the last of them; 0 when there is none
  };

  /**
   * The session is over. It has stored so many of the frames that it was given, but for the last
   * missingBytes of its file: what it has recorded.
   */
  Recorded end(std::uint64_t ofGiven, std::uint64_t missingBytes);

  /** The first frame that an earlier process has left; to be asked before begin(). */
  [[nodiscard]] std::optional<StreamFrame> firstLeft() const { return spool_.first(); }
  /** Bytes of the first so many frames in hand. */
  [[nodiscard]] std::uint64_t bytesOfFirst(size_t frames) const;
  /** Frames that no running session was given yet and that are not recorded. */
  [[nodiscard]] std::uint64_t waiting() const;
  [[nodiscard]] bool hasLeftover() const { return spool_.hasLeftover(); }
  [[nodiscard]] std::uint64_t lost() const { return lost_; }
  /** Leaves all that is not recorded to the next process, as far as the spool takes it. */
  void leave();

 private:
  [[nodiscard]] size_t firstWaiting() const { return given_ > done_ ? given_ : done_; }
  [[nodiscard]] size_t inHandOf(std::uint64_t ofGiven) const;
  [[nodiscard]] size_t firstInMemory() const;
  [[nodiscard]] bool isOverdue() const;
  [[nodiscard]] std::optional<size_t> groupOf(size_t index) const;
  [[nodiscard]] bool mayReadSpool() const { return handBytes_ < LARGEST_HAND || flushIsDue_; }
  void addInHand(const StreamFrame& frame);
  void takeFromSpool(const StreamFrame& frame);
  void popInHand(size_t n);
  void trim(size_t recorded);
  void recount();
  void refill();
  void spill();
  [[nodiscard]] bool spoolHand(SpoolSegment::Use waiting);
  void spoolFailed();
  void bound();
  void dropOldestGroup();
  void dropGroup(std::deque<StreamFrame>& from, size_t first, const char* reason);
  void lose(std::uint64_t frames, const char* reason);
  void tellCaughtUp();

  const int streamId_;
  FrameSpool spool_;
  std::function<bool(const StreamFrame&)> isStored_;
  std::deque<StreamFrame> inHand_;
  std::deque<StreamFrame> last_;
  std::uint64_t handBytes_ = 0;
  std::uint64_t waitBytes_ = 0;  // of the frames in hand that wait
  std::uint64_t lastBytes_ = 0;
  size_t given_ = 0;             // frames in hand that the running session was given
  size_t done_ = 0;              // frames in hand that are recorded; 0 while a session runs
  std::uint64_t repeated_ = 0;   // frames that the running session was given once more
  std::uint64_t passed_ = 0;     // frames of the running session that are no longer in hand
  std::uint64_t stored_ = 0;     // frames that the running session has put into its file
  std::uint64_t settled_ = 0;    // of these, or of those repeated, on disk
  std::uint64_t left_ = 0;       // frames that stay for the next process
  bool handNeedsStart_ = false;  // a group of pictures was dropped up to the end of the hand
  bool lastNeedsStart_ = false;  // the same, up to the last frame
  bool flushIsDue_ = true;
  bool spooling_ = false;  // since it was told that frames wait in the spool
  bool spoolIsFaulty_ = false;
  KTClock::Span spoolRetry_{0};
  bool losing_ = false;  // since it was told that frames are lost
  std::uint64_t lost_ = 0;
};

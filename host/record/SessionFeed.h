#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/byevents/EventWindow.h"
#include "host/record/FedSession.h"
#include "host/record/FeedBacklog.h"

/**
 * Feeds the frames of one stream into record sessions and sees to it that what was fed is recorded:
 * makes a session at a key frame, replaces it long before its ring of slices is full and where the
 * frames' clock has stepped, and follows one that has ended by itself with another, at once when
 * nothing waits, else after a growing pause. What no session takes meanwhile waits in memory and
 * then in a spool on disk, and is recorded in order, with its own times, before what comes next.
 *
 * Owns: the running session, the frames that are not recorded, and a thread that opens and closes
 *   sessions.
 * Threads: feed(), use(), endSession() and finish() from one thread, the stream's; progress(),
 *   beginNewSession() and passConfirmation() from any.
 * Blocks: feed() for the spool's disk at most; finish() until what was fed is recorded or left in
 *   the spool.
 * Errors: frames that find no room are counted as lost; the log has one warning for each gap.
 * Memory: FeedBacklog's bounds.
 */
class SessionFeed {
 public:
  /** The frames' clock has stepped forward when it is so much further from the server's. */
  static constexpr std::int64_t STEP_MS = 60'000;

  struct Options {
    KTRStreamRecordParams params;
    std::string spoolDirectory;         // of this stream alone
    std::uint64_t spoolBytes = 0;       // 0 for no spool
    const EventGate* events = nullptr;  // outlives the feed, which then records by events
  };

  struct Progress {
    KTRRecordProgress stored;  // since the feed was made, of all its sessions
    std::uint64_t queue = 0;   // frames that wait
    std::uint64_t lost = 0;    // frames that no session took
    unsigned int open = 0;     // record session that is open, 0 = none

    /** Goes on with what a later feed has done. */
    Progress& operator+=(const Progress& later) {
      stored += later.stored;
      queue = later.queue;
      lost += later.lost;
      open = later.open;
      return *this;
    }
  };

  /** Begins with what an earlier process has left in the spool. */
  explicit SessionFeed(const Options& options);
  SessionFeed(const SessionFeed&) = delete;
  SessionFeed& operator=(const SessionFeed&) = delete;
  ~SessionFeed();

  /** The settings of the frames that come next. */
  void use(const StreamSettings& settings);
  /**
   * Takes one frame, by its time in milliseconds since the epoch; startsPlayback for all but delta
   * frames. Settings are in use.
   */
  void feed(const KTDataBlock& frame, bool startsPlayback, std::int64_t timeMs);
  /** The source has ended: what comes next belongs into another session. Does not wait. */
  void endSession();
  /** Stores all that was fed and writes the rows. Harmless when nothing runs. */
  void finish();
  /**
   * Replaces the session at the next key frame if it has a slice that is complete, so that its
   * slices may be deleted.
   */
  void beginNewSession() { splitAsked_ = true; }
  /** Has the feed's thread pass a confirmation on at once. Does not wait for that. */
  void passConfirmation();
  /** Whether the feed's thread has still to do that. */
  [[nodiscard]] bool isPassingConfirmation() const { return confirmationAsked_; }
  [[nodiscard]] Progress progress() const;

 private:
  using Lock = std::unique_lock<std::mutex>;

  struct Ending {
    unsigned int session;
    long time;
  };

  void run();
  void recallStored(Lock& lock);
  [[nodiscard]] bool step(Lock& lock);
  [[nodiscard]] bool hasEnded();
  [[nodiscard]] bool isOver() const;
  void open();
  bool pump();
  void await(Lock& lock);
  [[nodiscard]] bool splitIsDue(const StreamFrame& frame) const;
  [[nodiscard]] bool splits(const StreamFrame& frame);
  void closeSession(Lock& lock);
  void pause(bool recordedNothing);
  void followWindow(Lock& lock);
  void noteFiles(Lock& lock);
  void seeFile(Lock& lock);
  void writeEnds(Lock& lock);
  [[nodiscard]] KTRRecordProgress shown() const;
  [[nodiscard]] bool isStep(const StreamFrame& frame);

  const Options options_;
  std::atomic<bool> splitAsked_{false};
  std::atomic<bool> confirmationAsked_{false};
  mutable std::mutex mutex_;  // guards all below; session_ changes on the feed's own thread only
  std::condition_variable changed_;
  FeedBacklog backlog_;
  std::optional<EventWindow> window_;
  std::unique_ptr<FedSession> session_;
  std::shared_ptr<const StreamSettings> settings_;
  KTRRecordProgress past_;      // of the sessions before
  std::uint64_t repeated_ = 0;  // frames that the running session is given once more, and their
  std::uint64_t repeatedBytes_ = 0;
  std::uint64_t flushed_ = 0;   // frames that the running session has written out
  std::uint64_t seen_ = 0;      // of these, when its file was seen last
  KTClock::Span nextSight_{0};  // of it
  bool fileIsGone_ = false;
  std::vector<Ending> ends_;  // of sessions, to be written
  bool closing_ = false;      // the session is to take nothing more
  bool finishing_ = false;
  bool lastTry_ = false;       // the session was opened at the end
  bool gaveUp_ = false;        // at the end: nothing could be stored
  bool busy_ = false;          // the last look at the session has moved frames
  bool endAsked_ = false;      // the session ends when nothing waits
  bool beginsSession_ = true;  // the next frame does
  std::int64_t lastMs_ = 0;    // of the last frame
  std::int64_t clockMs_ = 0;   // frame time minus server time when the stream's session began
  KTClock::Span nextTry_{0};
  KTClock::Span pause_{0};
  std::thread thread_;
};

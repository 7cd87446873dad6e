#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "host/byevents/EventWindow.h"
#include "host/record/SidecarWriter.h"
#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTClock.h"

/**
 * Feeds the frames of one stream into record sessions and takes care of their lives: makes one at a
 * key frame, sends it the time first, replaces it long before its ring of slices is full, and makes
 * a new one when one has ended by itself: after a pause when that one has failed, at once when it
 * had stored all that it was fed (a camera that was silent for long). Every session of sound gets
 * the header of the sound as its first frame.
 *
 * Owns: the running session.
 * Threads: one thread, the stream's; progress(), beginNewSession() and passConfirmation() from any.
 * Blocks: finish(), and feed() where a session is replaced, until what was fed is on disk.
 * Errors: frames that no session takes are counted as lost; the log has one warning for each gap.
 * Memory: what waits for a disk or a server that is too slow is bounded by LARGEST_QUEUE; frames
 * beyond it are lost, up to a key frame that comes when half of that is stored.
 */
class SessionFeed {
 public:
  /** Slices after which a session is replaced at the next key frame; the ring has 256. */
  static constexpr unsigned int LAST_SLICE = 200;
  /** Bytes that may wait to be stored. */
  static constexpr std::uint64_t LARGEST_QUEUE = 64 * 1024 * 1024;

  struct Progress {
    KTRRecordProgress stored;  // since the feed was made, of all its sessions
    unsigned int queue = 0;    // messages that wait
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

  /**
   * A feed of pictures; with an audio header, as AudioHeader::encode() makes it, one of sound. With
   * a gate, which must outlive the feed, it records by events.
   */
  explicit SessionFeed(const KTRStreamRecordParams& params,
                       const KTDataBlock& audioHeader = KTDataBlock(),
                       const EventGate* events = nullptr);
  SessionFeed(const SessionFeed&) = delete;
  SessionFeed& operator=(const SessionFeed&) = delete;
  ~SessionFeed();

  /** Hands one frame to a session; startsPlayback for all but delta frames. */
  void feed(const KTDataBlock& frame, bool startsPlayback);
  /** Stores all that was fed and writes the rows. Harmless when nothing runs. */
  void finish();
  /**
   * Replaces the session at the next key frame if it has a slice that is complete, so that its
   * slices may be deleted.
   */
  void beginNewSession() { splitAsked_ = true; }
  /** Passes a confirmation on at once, without waiting for the next frame. */
  void passConfirmation();
  [[nodiscard]] Progress progress() const;

 private:
  using Session = std::unique_ptr<KTRStreamRecordSession>;

  void open(const KTDataBlock& firstFrame);
  [[nodiscard]] Session newVideo();
  [[nodiscard]] Session newAudio(const KTDataBlock& firstFrame);
  void replaceSession();
  void abandon();
  void lose(const char* reason);
  void close();
  void writeEnd(unsigned int sessionId, long lastTime);
  [[nodiscard]] bool isCongested(bool startsPlayback);
  [[nodiscard]] int commit(const KTDataBlock& frame);

  const KTRStreamRecordParams params_;
  const KTDataBlock audioHeader_;  // empty for pictures
  SidecarWriter sidecar_;
  std::optional<EventWindow> window_;
  mutable std::mutex mutex_;  // guards session_ and past_ against other threads
  Session session_;
  Progress past_;
  std::uint64_t fed_ = 0;       // frames that the running session has taken
  std::uint64_t fedBytes_ = 0;  // of these frames
  bool congested_ = false;
  unsigned int lastStampMs_ = 0;
  bool gap_ = false;
  std::atomic<bool> splitAsked_{false};
  KTClock::Span nextTry_{0};
  KTClock::Span pause_{0};
};

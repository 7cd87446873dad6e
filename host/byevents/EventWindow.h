#pragma once

#include <atomic>
#include <optional>
#include <vector>

#include "handles/KTR_DB_handle.h"
#include "host/byevents/EventGate.h"
#include "recording/KTRStreamRecordSession.h"

/**
 * The part that a host has in recording one stream by events. The library keeps the window of key
 * frames; this tells each session of its mode and of confirmations, marks the row of a window so
 * that everybody sees that nothing has confirmed it, and removes the files of a window that the
 * library has removed the rows of. Whatever ends the process between the two, WindowTable tells
 * that the files belong to nothing.
 *
 * Every window has a session object of its own, which is told to record by events when it has
 * stored nothing yet: the message makes the session that is open when the object ends go away, and
 * so must never reach one that holds an event.
 *
 * Owns: nothing; the gate must outlive it.
 * Threads: one thread at a time; isUnconfirmed() and isOver() any, at any time.
 * Blocks: for the server, and ended() for the file system; isUnconfirmed() and isOver() never.
 * Errors: log lines; what cannot be removed stays.
 */
class EventWindow {
 public:
  EventWindow(const EventGate& gate, const KTRStreamRecordParams& params)
      : gate_(gate), params_(params) {}

  /** Before the first frame of a session: a window, or a recording when there is an event. */
  void begin(KTRStreamRecordSession& session);
  /** To be called often: marks windows, and passes confirmations on. */
  void follow(KTRStreamRecordSession& session);
  /** Before the stop message: passes on the confirmation that the session has not had. */
  void beforeStop(KTRStreamRecordSession& session);
  /** Whether the running session is a window, which is kept whole by nobody but the library. */
  [[nodiscard]] bool isUnconfirmed() const;
  /** Whether the running session holds an event that is over: it is to be ended at a key frame. */
  [[nodiscard]] bool isOver() const;
  /** After the session's thread has ended: whether its footage was kept; if not, its files go. */
  [[nodiscard]] bool ended(const KTRStreamRecordSession& session);

 private:
  void observe(const KTRStreamRecordSession& session);
  void confirm(KTRStreamRecordSession& session);
  void mark(unsigned int session, unsigned int dataAvailable) const;
  void unlist(unsigned int session) const;
  [[nodiscard]] KTR_DB_handle* database() const;
  [[nodiscard]] std::optional<bool> hasRow(unsigned int session) const;
  [[nodiscard]] bool removeFiles(const KTString& prefix) const;
  void removeEarlier();

  const EventGate& gate_;
  const KTRStreamRecordParams params_;
  std::atomic<bool> unconfirmed_{false};
  unsigned int confirmationsBefore_ = 0;  // when the window began
  unsigned int current_ = 0;              // record session that is marked as a window
  bool listed_ = false;                   // it stands in the table of windows
  std::vector<unsigned int> earlier_;     // the window's first parts, before the clock went back
};

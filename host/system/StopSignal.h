#pragma once

#include <csignal>

#include "host/system/UniqueFd.h"

/**
 * Turns SIGINT, SIGTERM and, unless it is ignored, SIGHUP into a request to stop that a command
 * asks for between two steps, so that it ends cleanly. One object at a time in a process; the
 * former handling comes back when it goes. System calls that a signal interrupts are restarted, but
 * for poll() and sleeps.
 *
 * Owns: the handlers, and an event descriptor.
 * Threads: requested() and fd() from any thread; built and destroyed on the main thread.
 * Blocks: waitFor() only.
 */
class StopSignal {
 public:
  StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;
  ~StopSignal();

  /** Whether a signal has come, or request() was called. */
  [[nodiscard]] bool requested() const;
  /** The first signal that came; 0 when none did. */
  [[nodiscard]] int signalNumber() const;
  /** Readable, and never read from, as soon as requested() is true: for poll(). */
  [[nodiscard]] int fd() const { return event_.get(); }
  /** Waits at most so many milliseconds for the request; answers requested(). */
  [[nodiscard]] bool waitFor(int milliseconds) const;
  /** Asks to stop without a signal. */
  void request();

 private:
  static constexpr int COUNT = 3;

  UniqueFd event_;
  struct sigaction former_[COUNT] = {};
};

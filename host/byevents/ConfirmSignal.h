#pragma once

#include <csignal>

/**
 * Turns SIGUSR1 into the news that an event is confirmed, which a recording asks for between two
 * steps. One object at a time in a process; the former handling comes back when it goes.
 *
 * Owns: the handler.
 * Threads: take() from any thread; built and destroyed on the main thread.
 * Blocks: never.
 */
class ConfirmSignal {
 public:
  ConfirmSignal();
  ConfirmSignal(const ConfirmSignal&) = delete;
  ConfirmSignal& operator=(const ConfirmSignal&) = delete;
  ~ConfirmSignal();

  /** Whether the signal has come since the last call. */
  [[nodiscard]] bool take();

 private:
  struct sigaction former_ {};
};

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/byevents/ConfirmPipe.h"
#include "host/byevents/ConfirmSignal.h"

/**
 * All ways by which an event is confirmed to a recording: SIGUSR1 for all its streams, and, while
 * it records by events, other processes. The signal is taken in every recording, since one that is
 * not by events is not to be ended by it.
 *
 * Owns: the handler and the pipe.
 * Threads: one thread at a time for each object; built and destroyed on the main thread.
 * Blocks: never. Errors: listen() as ConfirmPipe.
 */
class EventConfirmations {
 public:
  using Confirmation = ConfirmPipe::Confirmation;

  /** Lets other processes confirm. */
  void listen(const std::string& recorderDirectory) { pipe_.emplace(recorderDirectory); }
  /** What was confirmed since the last call. */
  [[nodiscard]] std::vector<Confirmation> take();

 private:
  ConfirmSignal signal_;
  std::optional<ConfirmPipe> pipe_;
};

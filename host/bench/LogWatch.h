#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "runtime/KTLogSink.h"

/**
 * Counts, while it lives, the lines in which the library tells that it falls behind. They go on to
 * the sink that was in use before, which is put back in the end.
 *
 * Threads: made and destroyed by the main thread; the counts are for any.
 */
class LogWatch {
 public:
  LogWatch();
  LogWatch(const LogWatch&) = delete;
  LogWatch& operator=(const LogWatch&) = delete;
  ~LogWatch();

  /** Turns of a record session that took more than 3 seconds. */
  [[nodiscard]] std::uint64_t slowTurns() const;
  /** Frames that were stored with more than 20 messages behind them. */
  [[nodiscard]] std::uint64_t longQueues() const;

 private:
  class Sink;

  std::shared_ptr<Sink> sink_;
};

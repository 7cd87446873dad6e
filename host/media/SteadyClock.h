#pragma once

#include "runtime/KTClock.h"

/**
 * A clock that never steps: the wall clock of the moment it was made, carried on by the monotonic
 * clock. While one lives it is the clock of the process, so that no rule of a record session sees a
 * wall clock that was set. What means the real time of day asks wall().
 *
 * Owns: nothing; the clock that was installed before must outlive it and is put back at its end.
 * Threads: any thread; made and destroyed while nothing else uses the clock, one at a time.
 * Blocks: as the clock below.
 */
class SteadyClock : public KTClock {
 public:
  SteadyClock();
  ~SteadyClock() override;

  /** The wall clock as it is set now, whether or not a SteadyClock lives. */
  [[nodiscard]] static KTTimeValue wall();

  [[nodiscard]] KTTimeValue now() override;
  [[nodiscard]] Span elapsed() override { return below_->elapsed(); }
  void sleep(const KTTimeValue& d) override { below_->sleep(d); }
  void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
            Span until) override {
    below_->wait(changed, lock, until);
  }
  [[nodiscard]] Span restEnd(Span length) override { return below_->restEnd(length); }

 private:
  KTClock* const below_;
  const Span offset_;  // wall clock of the beginning minus monotonic time
};

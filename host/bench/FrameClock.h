#pragma once

#include <atomic>

#include "runtime/KTClock.h"

/**
 * A wall clock that a scenario moves by the times of its frames, so that footage of hours is
 * written with the flushes of hours, as fast as the machine can. All else is the clock below. While
 * one lives it is the clock of the process.
 *
 * Owns: nothing; the clock that was installed before must outlive it and is put back at its end.
 * Threads: any thread; made and destroyed while nothing else uses the clock.
 * Blocks: as the clock below.
 */
class FrameClock : public KTClock {
 public:
  /** Begins at the second that it is now. */
  FrameClock();
  /** Begins at a second since the epoch. */
  explicit FrameClock(long beginning);
  ~FrameClock() override;

  /**
   * Moves the wall clock to that many milliseconds behind its beginning; it tells other threads of
   * nothing else. A frame's cost is some 100 ns in places: a barrier would show.
   */
  void moveTo(std::int64_t ms) { passedMs_.store(ms, std::memory_order_relaxed); }
  /** The second at which it began. */
  [[nodiscard]] long beginning() const { return beginning_; }

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
  const long beginning_;
  std::atomic<std::int64_t> passedMs_{0};
};

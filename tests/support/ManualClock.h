#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "runtime/KTClock.h"

/**
 * A clock that stands still until the test moves it. Installed for as long as it lives. Threads
 * that wait on it are counted, so that a test moves time only when they have nothing left to do.
 * Sleeping threads do not wait: a sleep moves the clock on by its length at once and is recorded.
 *
 * Threads: any thread.
 */
class ManualClock : public KTClock {
 public:
  /** Starts at a wall-clock time in seconds since the epoch. */
  explicit ManualClock(long startSeconds = 1700000000);
  ~ManualClock() override;

  [[nodiscard]] KTTimeValue now() override;
  [[nodiscard]] Span elapsed() override;
  void sleep(const KTTimeValue& d) override;
  void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
            Span until) override;
  [[nodiscard]] Span restEnd(Span length) override;

  /** Moves wall clock and monotonic clock on and wakes every waiter. */
  void advance(Span by);
  void advanceSeconds(long seconds) { advance(std::chrono::seconds(seconds)); }
  /** Moves the wall clock alone, as an administrator would. */
  void stepWall(long seconds);
  /** Blocks until n threads wait on this clock. */
  void awaitWaiters(unsigned int n);
  /** Moves time on while one thread waits, and blocks until it waits again. */
  void advanceToNextWait(Span by);
  /** From now on threads rest, for just as long as they ask for. Else nobody does. */
  void letRest();
  /** How many rests have begun since. */
  [[nodiscard]] int rests() const;
  /** How many threads wait on this clock now. */
  [[nodiscard]] unsigned int waiters() const;
  /** Every sleep so far. */
  [[nodiscard]] std::vector<Span> sleeps() const;

 private:
  struct Waiter {
    std::condition_variable* changed;
    std::mutex* mutex;
  };

  mutable std::mutex mutex_;
  std::condition_variable waitersChanged_;
  Span wall_;
  Span elapsed_{0};
  std::vector<Waiter> waiters_;
  std::vector<Span> sleeps_;
  unsigned int waits_ = 0;  // that have ever begun
  bool isRestful_ = false;
  int rests_ = 0;
};

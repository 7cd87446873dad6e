#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "tests/support/ManualClock.h"

/**
 * A clock moved by hand on which threads rest, for just as long as they ask for.
 *
 * Threads: any thread.
 */
class RestingClock : public ManualClock {
 public:
  [[nodiscard]] Span restEnd(Span length) override {
    ++rests_;
    return elapsed() + length;
  }
  void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
            Span until) override {
    ++waits_;
    ManualClock::wait(changed, lock, until);
  }
  /** Moves time on, as advance(), and blocks until a thread that it woke waits again. */
  void advanceToNextWait(Span by) {
    const int before = waits_;
    advance(by);
    while (waits_ == before) std::this_thread::yield();
  }
  /** How many rests have begun. */
  [[nodiscard]] int rests() const { return rests_; }

 private:
  std::atomic<int> rests_{0};
  std::atomic<int> waits_{0};
};

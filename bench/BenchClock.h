#pragma once

#include "runtime/KTClock.h"

/** A clock that stands still until it is advanced, installed for as long as it lives. One thread.
 */
class BenchClock : public KTClock {
 public:
  BenchClock() { install(this); }
  ~BenchClock() override { install(nullptr); }

  void advance(Span by) { wall_ += by; }

  [[nodiscard]] KTTimeValue now() override {
    const auto usec = static_cast<long long>(wall_.count());
    return KTTimeValue(static_cast<long>(usec / 1000000), static_cast<long>(usec % 1000000));
  }
  [[nodiscard]] Span elapsed() override { return wall_; }
  void sleep(const KTTimeValue&) override {}
  void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock, Span) override {
    changed.wait(lock);
  }

 private:
  Span wall_{1700000000000000};
};

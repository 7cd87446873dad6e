#pragma once

#include <benchmark/benchmark.h>

/**
 * Holds a scenario to what it is said to do: a scenario that did less is no measurement. One
 * thread.
 */
class BenchCheck {
 public:
  /** Ends the scenario with what it did not do, unless ok. */
  static void that(benchmark::State& state, bool ok, const char* expected) {
    if (ok) return;
    failed_ = true;
    state.SkipWithError(expected);
  }
  [[nodiscard]] static bool failed() { return failed_; }

 private:
  static inline bool failed_ = false;
};

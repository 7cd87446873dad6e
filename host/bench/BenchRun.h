#pragma once

#include <functional>
#include <string>

#include "host/bench/Scenario.h"
#include "host/bench/ScenarioResult.h"

/**
 * Runs scenarios, and where it is asked to the rivals of each beside them: pair by pair in turn, so
 * that what disturbs the machine disturbs both.
 *
 * Threads: the main thread.
 * Blocks: for as long as the work takes.
 */
class BenchRun {
 public:
  /** Pairs where the user does not say how many: a median needs so many, and an odd number. */
  static constexpr unsigned int USUAL_PAIRS = 5;

  struct Options {
    bool against = false;
    unsigned int runs = 0;                             // 0: once, or USUAL_PAIRS
    std::function<void(const std::string&)> progress;  // told what runs now
    std::function<void()> beforeRun;  // brings the machine into the same state before every run
  };

  explicit BenchRun(Options options) : options_(std::move(options)) {}

  [[nodiscard]] ScenarioResult run(Scenario& scenario) const;

 private:
  void compare(Scenario& scenario, Rival& rival, ScenarioResult& result) const;
  template <typename Runner>
  [[nodiscard]] Measurement measured(Runner& runner) const;

  Options options_;
};

#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

/** How long single steps of a scenario took: p50, p99 and the longest, in microseconds. */
class Latencies {
 public:
  template <typename Step>
  void time(Step step) {
    const auto begin = std::chrono::steady_clock::now();
    step();
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - begin;
    usec_.push_back(took.count());
  }

  /** Where a scenario times two things, the prefix tells them apart. */
  void report(benchmark::State& state, const std::string& prefix = "") {
    if (usec_.empty()) return;
    std::sort(usec_.begin(), usec_.end());
    state.counters[prefix + "p50_us"] = usec_[usec_.size() / 2];
    state.counters[prefix + "p99_us"] = usec_[usec_.size() * 99 / 100];
    state.counters[prefix + "max_us"] = usec_.back();
  }

 private:
  std::vector<double> usec_;
};

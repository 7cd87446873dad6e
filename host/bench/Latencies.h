#pragma once

#include <chrono>
#include <vector>

/**
 * How long single operations took: collected one by one, asked for as places in their order.
 *
 * Threads: one thread at a time for each object.
 * Units: microseconds.
 */
class Latencies {
 public:
  using Clock = std::chrono::steady_clock;

  void reserve(size_t operations) { samples_.reserve(operations); }
  void add(Clock::duration took) {
    samples_.push_back(std::chrono::duration<double, std::micro>(took).count());
  }
  /** Takes over what another thread has collected. */
  void add(const Latencies& others);

  [[nodiscard]] size_t count() const { return samples_.size(); }
  /** The smallest sample that at least this share of all is not above; 0 when there is none. */
  [[nodiscard]] double atShare(double share) const;
  [[nodiscard]] double p50() const { return atShare(0.50); }
  [[nodiscard]] double p99() const { return atShare(0.99); }
  [[nodiscard]] double max() const { return atShare(1); }

 private:
  std::vector<double> samples_;
};

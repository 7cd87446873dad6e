#pragma once

#include <cstdint>

/**
 * Turns the stamps of consecutive frames, milliseconds since midnight, into milliseconds since the
 * epoch: each is the time nearest to the frame before it. One thread; never blocks.
 */
class StampUnwrapper {
 public:
  static constexpr std::int64_t DAY_MS = 86'400'000;

  /** The next frame lies within 12 hours of this time, seconds since the epoch. */
  void restart(std::int64_t seconds) { last_ = seconds * 1000; }
  [[nodiscard]] std::int64_t unwrap(std::uint32_t stampMs);

 private:
  std::int64_t last_ = 0;
};

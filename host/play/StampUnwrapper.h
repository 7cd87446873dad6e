#pragma once

#include <cstdint>

/**
 * Turns the stamps of consecutive frames, milliseconds since midnight, into milliseconds since the
 * epoch: each is the time nearest to the frame before it. One thread; never blocks.
 */
class StampUnwrapper {
 public:
  static constexpr std::int64_t DAY_MS = 86'400'000;

  /** Begins at a frame that lies in the 24 hours from baseSeconds on. */
  void restart(std::int64_t baseSeconds);
  [[nodiscard]] std::int64_t unwrap(std::uint32_t stampMs);

 private:
  std::int64_t base_ = 0;
  bool started_ = false;
  std::int64_t last_ = 0;
};

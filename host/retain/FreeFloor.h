#pragma once

#include <cstdint>
#include <limits>
#include <string>

/**
 * How much of a file system is to stay free: a number of bytes, a share of the whole, or the
 * smaller of both.
 *
 * Threads: a value; does not change.
 */
class FreeFloor {
 public:
  /** 1 GiB or 5 %, whichever is less: what applies when nothing is said. */
  FreeFloor() = default;
  /** "20GiB", "10%", or "0" for none. Throws a usage error that shows the forms. */
  [[nodiscard]] static FreeFloor parse(const std::string& text);

  /** The bytes to keep free on a file system of this size. */
  [[nodiscard]] uint64_t bytesOf(uint64_t wholeBytes) const;

 private:
  FreeFloor(uint64_t bytes, unsigned int percent) : bytes_(bytes), percent_(percent) {}

  uint64_t bytes_ = uint64_t{1} << 30;
  unsigned int percent_ = 5;
};

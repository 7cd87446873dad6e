#pragma once

#include <cstdint>
#include <string>

/**
 * Numbers of bytes as people write them: 1048576, 500GB (a thousand million each), 2TiB or 2T (a
 * thousand and twenty-four of the next smaller each).
 *
 * Threads: any thread.
 * Errors: parse() throws a usage error that shows the forms.
 */
class ByteCount {
 public:
  /** From 0 to 2^63 - 1. Capital and small letters are the same. */
  [[nodiscard]] static uint64_t parse(const std::string& text);
};

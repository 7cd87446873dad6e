#pragma once

#include <string>

/**
 * Lengths of time as people write and read them.
 *
 * Units: seconds.
 * Threads: any thread.
 * Errors: parse() throws a usage error that shows the forms.
 */
class DurationText {
 public:
  static constexpr long DAY = 86400;
  static constexpr long MAX = 366 * DAY;

  /** Understands plain seconds and numbers with d, h, m and s in this order, such as 1h30m. */
  [[nodiscard]] static long parse(const std::string& text);
  /** "45s", "5m00s", "1h05m30s", "2d03h00m00s". */
  [[nodiscard]] static std::string format(long seconds);
};

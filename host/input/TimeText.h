#pragma once

#include <string>

/**
 * Points in time as people write and read them.
 *
 * Units: seconds since the epoch; local time zone unless the text ends in Z.
 * Threads: any thread, as long as none changes the time zone.
 * Errors: parse() throws a usage error that lists the forms.
 */
class TimeText {
 public:
  /** The last time that the database's signed readers can hold. */
  static constexpr long LAST = 2147483647L;

  /**
   * Understands epoch seconds; "YYYY-MM-DD HH:MM[:SS]", also with 'T' and with a final 'Z';
   * "HH:MM[:SS]" of the day that now lies in; "now"; and a duration before now, such as "-5m".
   */
  [[nodiscard]] static long parse(const std::string& text, long now);
  /** As above, from the clock in use. */
  [[nodiscard]] static long parse(const std::string& text);

  /** "YYYY-MM-DD HH:MM:SS", local. */
  [[nodiscard]] static std::string format(long time);
  /** Local time in strftime conversions. */
  [[nodiscard]] static std::string format(long time, const char* conversions);
};

#include "host/input/DurationText.h"

#include <array>
#include <cstdio>
#include <optional>
#include <string_view>

#include "host/HostError.h"
#include "host/input/AsciiText.h"

namespace {

struct Unit {
  char letter;
  long seconds;
};

constexpr std::array<Unit, 4> UNITS{{{'d', DurationText::DAY}, {'h', 3600}, {'m', 60}, {'s', 1}}};

/** Takes "<digits><unit>" off the front of text: its seconds; nothing when it is not there. */
std::optional<long> takePart(std::string_view& text, const Unit& unit) {
  const size_t end = text.find_first_not_of("0123456789");
  if (end == std::string_view::npos || text[end] != unit.letter) return std::nullopt;
  const std::optional<long> number = parseDigits(text.substr(0, end));
  if (!number || *number > DurationText::MAX / unit.seconds) return std::nullopt;
  text.remove_prefix(end + 1);
  return *number * unit.seconds;
}

std::optional<long> parseWithUnits(std::string_view text) {
  long total = 0;
  for (const Unit& unit : UNITS) total += takePart(text, unit).value_or(0);
  if (!text.empty()) return std::nullopt;
  return total;
}

std::string printed(const char* format, long a, long b = 0, long c = 0, long d = 0) {
  std::array<char, 64> text{};
  (void)snprintf(text.data(), text.size(), format, a, b, c, d);
  return text.data();
}

}  // namespace

long DurationText::parse(const std::string& text) {
  std::optional<long> seconds = parseDigits(text);
  if (!seconds) seconds = parseWithUnits(text);
  if (!seconds || *seconds < 1 || *seconds > MAX) {
    throw usageError("'" + text + "' is not a duration",
                     "give seconds or a text such as 90s, 5m, 2h or 1h30m, at most 366 days");
  }
  return *seconds;
}

std::string DurationText::format(long seconds) {
  const long s = seconds % 60;
  const long m = seconds / 60 % 60;
  const long h = seconds / 3600 % 24;
  const long d = seconds / DAY;
  if (d > 0) return printed("%ldd%02ldh%02ldm%02lds", d, h, m, s);
  if (h > 0) return printed("%ldh%02ldm%02lds", h, m, s);
  if (m > 0) return printed("%ldm%02lds", m, s);
  return printed("%lds", s);
}

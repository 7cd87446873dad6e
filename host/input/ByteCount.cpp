#include "host/input/ByteCount.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <optional>
#include <string_view>

#include "host/HostError.h"
#include "host/input/AsciiText.h"

namespace {

constexpr std::string_view LETTERS = "KMGTP";

/** What a unit stands for, such as "GB", "gib" or "G"; nothing for any other text. */
std::optional<uint64_t> factorOf(std::string unit) {
  std::transform(unit.begin(), unit.end(), unit.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  if (unit.empty() || unit == "B") return 1;
  const size_t power = LETTERS.find(unit.front());
  const std::string ending = unit.substr(1);
  if (power == std::string_view::npos) return std::nullopt;
  if (!ending.empty() && ending != "B" && ending != "IB") return std::nullopt;
  uint64_t factor = 1;
  for (size_t i = 0; i <= power; ++i) factor *= ending == "B" ? 1000 : 1024;
  return factor;
}

}  // namespace

uint64_t ByteCount::parse(const std::string& text) {
  const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  const auto number = parseDigits<std::uint64_t>(text.substr(0, digits));
  const std::optional<uint64_t> factor = factorOf(text.substr(digits));
  constexpr uint64_t most = std::numeric_limits<int64_t>::max();
  if (!number || !factor || *number > most / *factor) {
    throw usageError("'" + text + "' is not a number of bytes",
                     "give a number such as 1048576, 500GB or 2TiB");
  }
  return *number * *factor;
}

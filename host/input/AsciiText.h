// Tests of single characters that do not depend on the locale, and strict numbers.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

inline bool isAsciiDigit(char c) {
  return c >= '0' && c <= '9';
}

inline bool isAsciiLetterOrDigit(char c) {
  return isAsciiDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/** The value of a text that is all decimal digits; nothing for any other text or a larger value. */
template <typename Number = long>
std::optional<Number> parseDigits(std::string_view text) {
  Number value = 0;
  if (text.empty() || !isAsciiDigit(text.front())) return std::nullopt;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

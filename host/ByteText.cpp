#include "host/ByteText.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view LETTERS = "BKMGTPE";

struct Scaled {
  double value;
  size_t unit;
};

Scaled scaled(uint64_t bytes) {
  Scaled result{static_cast<double>(bytes), 0};
  // 999.95 would be printed as 1000.0, five characters wide.
  while (result.value >= 999.95 && result.unit + 1 < LETTERS.size()) {
    result.value /= 1024;
    ++result.unit;
  }
  return result;
}

std::string number(const Scaled& size) {
  std::array<char, 32> text{};
  (void)snprintf(text.data(), text.size(), size.unit == 0 ? "%.0f" : "%.1f", size.value);
  return text.data();
}

}  // namespace

std::string ByteText::format(uint64_t bytes) {
  const Scaled size = scaled(bytes);
  if (size.unit == 0) return number(size) + " B";
  return number(size) + " " + LETTERS[size.unit] + "iB";
}

std::string ByteText::formatShort(uint64_t bytes) {
  const Scaled size = scaled(bytes);
  return number(size) + LETTERS[size.unit];
}

#include "runtime/PrintfText.h"

#include <cstdio>

std::string printfText(const char* fmt, va_list args) {
  va_list again;
  va_copy(again, args);
  char shortText[512];
  const int length = std::vsnprintf(shortText, sizeof shortText, fmt, args);
  std::string text;
  if (length >= static_cast<int>(sizeof shortText)) {
    text.resize(static_cast<size_t>(length));
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): again is a copy of the caller's list
    (void)std::vsnprintf(text.data(), text.size() + 1, fmt, again);
  } else if (length > 0) {
    text.assign(shortText, static_cast<size_t>(length));
  }
  va_end(again);
  return text;
}

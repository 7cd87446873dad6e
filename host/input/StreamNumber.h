#pragma once

#include <string>

/** Stream numbers, 0 to 255. Throws a usage error for anything else. Any thread. */
class StreamNumber {
 public:
  static constexpr long MAX = 255;

  [[nodiscard]] static unsigned char parse(const std::string& text);
};

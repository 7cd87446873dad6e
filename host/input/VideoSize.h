#pragma once

#include <string>

/**
 * A picture size, written as digits x digits: "1280x720". Each side is 1 to 65535 pixels.
 *
 * Threads: one thread at a time for each object.
 * Errors: parse() throws a usage error that shows the form.
 */
struct VideoSize {
  unsigned int width = 0;
  unsigned int height = 0;

  [[nodiscard]] static VideoSize parse(const std::string& text);
  [[nodiscard]] std::string text() const {
    return std::to_string(width) + "x" + std::to_string(height);
  }
};

#pragma once

#include <string>

/**
 * The name of a recorder, known to be 1 to 32 ASCII letters and digits, so that it can stand in a
 * database name, an SQL text and a path as it is.
 *
 * Threads: any thread; does not change.
 * Errors: parse() throws a usage error that says what a name looks like.
 */
class RecorderName {
 public:
  static constexpr size_t MAX_LENGTH = 32;

  [[nodiscard]] static RecorderName parse(const std::string& text);
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  explicit RecorderName(std::string text) : text_(std::move(text)) {}

  std::string text_;
};

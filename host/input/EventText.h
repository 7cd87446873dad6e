#pragma once

#include <string>

/**
 * The parts of an event as people give them.
 *
 * Threads: any thread. Blocks: data() for the file that it names.
 * Errors: throw a usage error that says what is expected.
 */
class EventText {
 public:
  /** A number of 32 bits: sensors and ids. what names it in the error. */
  [[nodiscard]] static unsigned int number(const std::string& text, const std::string& what);
  /** An event type: a number of 31 bits. */
  [[nodiscard]] static unsigned int type(const std::string& text);
  /** The text's bytes, or those of a file after "@"; at most 255. */
  [[nodiscard]] static std::string data(const std::string& text);
};

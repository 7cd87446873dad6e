#pragma once

#include <string>

/** The end of a log file, for a one-line message. Any thread; reads the file. */
class LogTail {
 public:
  /**
   * The last lines that report errors, or else the last lines of any kind: at most three, parted by
   * " | ". Says so when there is nothing.
   */
  [[nodiscard]] static std::string read(const std::string& path);
};

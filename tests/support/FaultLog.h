#pragma once

#include <string>
#include <vector>

/** What the tests' tools have broken so far, one line each, for the report of a failed case. */
class FaultLog {
 public:
  // Any thread.
  static void note(const std::string& fault);
  [[nodiscard]] static std::vector<std::string> lines();
  static void clear();
};

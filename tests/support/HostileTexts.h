#pragma once

#include <string>
#include <vector>

/**
 * Well over a hundred texts that try to be more than data for a server, a shell, a path or printf.
 * What each would do or make is called MARK.
 */
class HostileTexts {
 public:
  static constexpr const char* MARK = "pwned";

  [[nodiscard]] static const std::vector<std::string>& all();
  /** Whether a statement names MARK anywhere but between its quotes, or leaves a quote open. */
  [[nodiscard]] static bool escapedInto(const std::string& statement);
  /** Files called MARK where a command of a hostile text would make them. */
  [[nodiscard]] static std::vector<std::string> traces();
  /** Removes what a test that found something has left. */
  static void removeTraces();
};

#pragma once

#include <string>
#include <vector>

/**
 * Sees the commands that this process gives to the shell on their way there. Where it is used a
 * fault of FaultCalls can end the process in place of one.
 *
 * Threads: any thread; one object at a time.
 */
class ShellCalls {
 public:
  ShellCalls();
  ShellCalls(const ShellCalls&) = delete;
  ShellCalls& operator=(const ShellCalls&) = delete;
  ~ShellCalls();

  /** Every command so far, letter for letter. */
  [[nodiscard]] std::vector<std::string> commands() const;
};

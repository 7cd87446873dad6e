#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/**
 * A program that a helper of the host runs: looked up in PATH and in the usual sbin places. What it
 * writes is for its user alone.
 */
class ProcessLaunch {
 public:
  /** words[0] is the name of the program, logFile what takes its output, appended. */
  ProcessLaunch(std::vector<std::string> words, std::string logFile);

  /** Runs it as a child and waits: its exit status, 128 + number when a signal ended it. */
  [[nodiscard]] int runAndWait() const;
  /**
   * Starts it in a session of its own, child of nobody here: signals of the terminal do not reach
   * it, it holds no descriptor of this process, and it lives on when this process ends. Answers its
   * process number.
   */
  [[nodiscard]] pid_t startDetached() const;

 private:
  std::vector<std::string> words_;
  std::string logFile_;
};

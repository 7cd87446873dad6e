#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/**
 * A command of ktr that runs beside the test, to be killed.
 *
 * Owns: the process, which ends with the object.
 * Threads: one thread at a time for each object.
 * Errors: std::runtime_error when the program cannot be started.
 */
class KtrProcess {
 public:
  struct Options {
    std::vector<std::string> arguments;
    std::string output;  // file for what it writes
    std::string faults;  // as FaultCalls::text() writes them
  };

  explicit KtrProcess(const Options& options);
  KtrProcess(const KtrProcess&) = delete;
  KtrProcess& operator=(const KtrProcess&) = delete;
  ~KtrProcess();

  void signal(int number) const;
  /** Whether it has not ended yet. */
  [[nodiscard]] bool runs() const;
  /** Blocks until it has ended: its exit status, or the negative number of the signal. */
  int wait();

 private:
  pid_t pid_ = -1;
  int status_ = 0;
};

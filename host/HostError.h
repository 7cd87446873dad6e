#pragma once

#include <stdexcept>
#include <string>

/**
 * What a command throws when it cannot go on: one line that says what is wrong and what to do about
 * it, and the exit status. Caught in one place, CommandLine, which prints "ktr: " and the line.
 *
 * Threads: thrown and caught on one thread.
 */
class HostError : public std::runtime_error {
 public:
  enum Status {
    Failed = 1,  ///< the command was understood and could not be done
    Usage = 2    ///< the command line asks for something that makes no sense
  };

  /**
   * The line is "<wrong>: <remedy>"; control characters, of hostile input, become '?', and the
   * secrets of a URL are taken out.
   */
  HostError(Status status, const std::string& wrong, const std::string& remedy);

  [[nodiscard]] Status status() const { return status_; }

 private:
  Status status_;
};

/** A HostError of status Failed. */
[[nodiscard]] HostError failure(const std::string& wrong, const std::string& remedy);
/** A HostError of status Usage. */
[[nodiscard]] HostError usageError(const std::string& wrong, const std::string& remedy);
/** A HostError of status Failed whose text ends with the meaning of errno, read on entry. */
[[nodiscard]] HostError systemFailure(const std::string& wrong, const std::string& remedy);

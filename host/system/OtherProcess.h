#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/system/UniqueFd.h"

/**
 * A process that is not this one's child, held by a pidfd, so that a signal never reaches a
 * stranger that was given the same number.
 *
 * Owns: the pidfd.
 * Threads: one thread at a time for each object.
 * Blocks: waitForEnd() up to its limit.
 */
class OtherProcess {
 public:
  /** The process of this number, or nothing when there is none. */
  [[nodiscard]] static std::optional<OtherProcess> find(pid_t pid);

  [[nodiscard]] pid_t pid() const { return pid_; }
  /** Whether its command line has this word; never of a process that has ended. */
  [[nodiscard]] bool hasArgument(const std::string& word) const;
  /** Its command line, words parted by blanks; empty when it has ended. */
  [[nodiscard]] std::string commandLine() const;
  void signal(int number) const;
  /** Whether it has ended, now or within the limit. */
  [[nodiscard]] bool waitForEnd(std::chrono::milliseconds limit) const;

  /** Processes that have the file open, as far as this user may look. */
  [[nodiscard]] static std::vector<pid_t> withOpenFile(const std::string& path);

 private:
  OtherProcess(pid_t pid, UniqueFd handle) : pid_(pid), handle_(std::move(handle)) {}

  pid_t pid_;
  UniqueFd handle_;
};

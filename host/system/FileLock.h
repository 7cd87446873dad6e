#pragma once

#include <string>

#include "host/system/UniqueFd.h"

/**
 * An advisory lock between processes: a flock on a file that is made when missing and never
 * removed. The kernel drops it when its holder dies, however that happens.
 *
 * Owns: the open file; the lock ends with it.
 * Threads: one thread at a time for each object; two objects exclude each other also within one
 * process.
 * Blocks: lock() until the lock is free.
 * Errors: the constructor throws a failure when the file cannot be opened.
 */
class FileLock {
 public:
  enum Mode { Shared, Exclusive };

  /** Opens the file; nothing is locked yet. */
  explicit FileLock(std::string path);

  /** Waits for the lock. */
  void lock(Mode mode);
  /**
   * Takes the lock if that is possible at once. A lock held before is exchanged for the new one,
   * and lost when the answer is false.
   */
  [[nodiscard]] bool tryLock(Mode mode);
  void unlock();

  /** Replaces what is in the file by text, for those who find the lock taken. */
  void writeText(const std::string& text);
  /** What the file holds, at most 4096 bytes; empty when it cannot be read. */
  [[nodiscard]] static std::string readText(const std::string& path);

 private:
  std::string path_;
  UniqueFd file_;
};

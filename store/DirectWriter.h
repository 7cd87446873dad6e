#pragma once

#include <sys/types.h>

#include "runtime/KTRExport.h"

/**
 * Writes large pieces of one file past the page cache: recorded footage is seldom read soon, and
 * copying it through the cache costs many times the processor time. Whoever reads the file through
 * the cache sees what was written all the same.
 *
 * Whole pages go to the disk straight from the caller's memory, which must stand in its page as
 * they stand in theirs (address and offset are the same modulo PAGE_BYTES); the bytes before and
 * behind them go through the cache. A small piece, or one that stands otherwise, is written through
 * the cache as a whole, and so is everything once the file system has refused.
 *
 * Owns: nothing; the descriptor's flags are the same after a call as before it.
 * Threads: one thread at a time for each descriptor. What was collected is written by the thread
 * that did so, or by one that took over from it under a lock.
 * Blocks: write() for the I/O.
 * Errors: as writeFully().
 */
class KTR_API DirectWriter {
 public:
  static constexpr size_t PAGE_BYTES = 4096;
  /** Pages of fewer bytes are not worth a way of their own. */
  static constexpr size_t LEAST_DIRECT = size_t{256} * 1024;

  /**
   * Copies n bytes to where a later write() takes them from; the two may not overlap. Large pieces
   * go around the processor's cache where it has such stores: what a disk has taken may lie in the
   * cache of another processor (that of a virtual disk's host), and to store over it through the
   * own cache takes up to ten times as long.
   */
  static void collect(unsigned char* dst, const unsigned char* src, size_t n);
  /** Writes all n bytes from offset on: n, or -1 when a part or all of it could not be written. */
  [[nodiscard]] ssize_t write(int fd, const unsigned char* src, size_t n, off_t offset);

 private:
  [[nodiscard]] ssize_t writePages(int fd, const unsigned char* src, size_t n, off_t offset);

  bool refused_ = false;  // by the file system
};

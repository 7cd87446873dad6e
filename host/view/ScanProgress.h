#pragma once

#include <cstdint>
#include <ostream>

#include "runtime/KTClock.h"

/**
 * Shows how a walk over many bytes goes: one line that is drawn over and over on a terminal, a
 * plain line every ten seconds elsewhere. Nothing is shown of a walk that is done sooner.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the output.
 */
class ScanProgress {
 public:
  ScanProgress(std::ostream& out, bool terminal);
  ScanProgress(const ScanProgress&) = delete;
  ScanProgress& operator=(const ScanProgress&) = delete;
  /** Removes the line from the terminal. */
  ~ScanProgress() { clear(); }

  void update(uint64_t doneBytes, uint64_t allBytes);
  /** Before something else is written to the same terminal. */
  void clear();

 private:
  std::ostream& out_;
  const bool terminal_;
  const KTClock::Span start_;
  KTClock::Span nextPrint_;
  bool drawn_ = false;
};

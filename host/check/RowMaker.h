#pragma once

#include <cstdint>
#include <optional>

#include "host/check/SessionWalk.h"

/**
 * Tells which frames of a session get an index row, as a recording decides it: one key frame and
 * one frame of sound a second, one JPEG picture every three seconds and at most one a second.
 *
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class RowMaker {
 public:
  /** frameIntervalUsec: what a row of a video frame says before there are two of them. */
  explicit RowMaker(unsigned int frameIntervalUsec = 0) : firstInterval_(frameIntervalUsec) {}

  /**
   * Whether a frame is to have a row; frames in the order of the files. hasRow: that it has one
   * already, which the rhythm of JPEG rows then follows.
   */
  [[nodiscard]] bool needsRow(const SessionWalk::Frame& frame, bool hasRow);
  /** The delay that the row of the frame asked for last holds, microseconds. */
  [[nodiscard]] unsigned int delayUsec() const { return delayUsec_; }

 private:
  void noteDelay(const SessionWalk::Frame& frame);

  unsigned int firstInterval_;
  unsigned int delayUsec_ = 0;
  uint64_t frames_ = 0;
  std::optional<long> lastSecond_;
  std::optional<int64_t> lastMs_;  // of the frame with a row
};

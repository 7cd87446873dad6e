#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "runtime/KTDataBlock.h"

/**
 * Tells which of the first frames of a record session stood at the end of the sessions before it:
 * the group of pictures that the last one ended in, or a part of it.
 *
 * Owns: the frames of one group of pictures, their bytes shared with whoever has them: to keep them
 *   costs nothing, while a sum over the bytes of every frame costs more than writing it to a file.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class RepeatedFrames {
 public:
  /** A frame was handed out. */
  void note(std::int64_t timeMs, const KTDataBlock& frame, bool startsPlayback);
  /** Another session begins. */
  void enterSession() { next_ = 0; }
  /** Whether the session's next frame is one that was handed out; none behind one that is not. */
  [[nodiscard]] bool has(std::int64_t timeMs, const KTDataBlock& frame);

 private:
  struct Seen {
    std::int64_t timeMs;
    KTDataBlock frame;
  };

  std::vector<Seen> group_;  // since the last key frame that was handed out
  size_t next_ = 0;          // of the group, that a session may repeat
};

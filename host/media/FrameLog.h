#pragma once

#include <fstream>
#include <memory>
#include <string>

#include "runtime/KTDataBlock.h"

/**
 * A text file with one line for each frame: stamp, kind, bytes of payload and the SHA-256 of the
 * payload. Two of them, of what was received and of what is played, are compared with diff. The
 * payload is all that follows the head, so that the composition offset counts too. Each line is
 * with the kernel at once: the log of a process that is killed names all that it had received.
 *
 * Owns: the file.
 * Threads: one thread at a time for each object.
 * Blocks: as long as the disk does.
 * Errors: MediaError.
 */
class FrameLog {
 public:
  /** Makes the file, or empties it. */
  explicit FrameLog(const std::string& path);
  FrameLog(const FrameLog&) = delete;
  FrameLog& operator=(const FrameLog&) = delete;
  ~FrameLog();

  /** Adds the line of one whole frame, as FrameSource makes it and KTRVideoFrame::data() has it. */
  void add(const KTDataBlock& frame);
  /** To be called at the end, for its errors. */
  void close();

 private:
  struct Hash;

  void check();

  std::string path_;
  std::ofstream file_;
  std::unique_ptr<Hash> hash_;
};

#pragma once

#include <cstdint>
#include <string>

#include "host/media/BlockOutput.h"

struct AVIOContext;

/**
 * A file or the standard output, being written by libav.
 *
 * Owns: the file; not the standard output. A file to which nothing was ever written is removed
 *   again.
 * Threads: one thread at a time for each object.
 * Blocks: as long as the disk or the pipe's reader does.
 * Errors: MediaError. SIGPIPE is the host's to ignore.
 */
class MediaFile {
 public:
  /** Makes the file, or empties it; "-" is the standard output. */
  MediaFile(const std::string& path, BlockOutput::Pace pace);
  MediaFile(const MediaFile&) = delete;
  MediaFile& operator=(const MediaFile&) = delete;
  ~MediaFile();

  [[nodiscard]] AVIOContext* context() const { return context_; }
  /** Throws when result, or a write before, failed. */
  void check(int result) const;
  /** Closes with all bytes written out; to be called at the end, for its errors. */
  void close();

 private:
  static int write(void* file, std::uint8_t* bytes, int count);
  static std::int64_t seek(void* file, std::int64_t offset, int whence);
  void closeFile();

  std::string path_;
  BlockOutput output_;
  AVIOContext* context_ = nullptr;
};

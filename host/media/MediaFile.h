#pragma once

#include <string>

struct AVIOContext;

/**
 * A file or the standard output, being written.
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
  explicit MediaFile(const std::string& path);
  MediaFile(const MediaFile&) = delete;
  MediaFile& operator=(const MediaFile&) = delete;
  ~MediaFile();

  [[nodiscard]] AVIOContext* context() const { return context_; }
  /** Throws when result, or a write before, failed. */
  void check(int result) const;
  /** Closes with all bytes written out; to be called at the end, for its errors. */
  void close();

 private:
  [[nodiscard]] int closeFile();

  std::string path_;
  AVIOContext* context_ = nullptr;
};

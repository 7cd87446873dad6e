#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "host/system/UniqueFd.h"

/**
 * A file that is written from its beginning and is on the disk, not only with the kernel, when
 * finish() returns.
 *
 * Owns: the descriptor. A file that was not finished stays as far as it was written.
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 * Errors: throws a HostError that names the file.
 */
class DurableFile {
 public:
  enum Mode {
    Replace,  ///< an old file of the name is emptied
    Unique    ///< "NAME.2", "NAME.3" when there is one already
  };

  DurableFile(const std::string& path, Mode mode);

  [[nodiscard]] const std::string& path() const { return path_; }
  void write(std::span<const unsigned char> bytes);
  void finish();

  /** Renames a finished file, and syncs the directory. */
  static void rename(const std::string& from, const std::string& to);
  static void remove(const std::string& path);
  /** Makes an empty file if there is none. */
  static void touch(const std::string& path);
  /** Cuts a file; what it was changed last stays, since it tells when the recording was. */
  static void truncate(const std::string& path, uint64_t size);
  /** Gives a file the mode and the times of another, and its owner if that is allowed. */
  static void copyAttributes(const std::string& from, const std::string& to);
  /** Names that were made or changed in the directory of a path are on the disk afterwards. */
  static void syncDirectoryOf(const std::string& path);

 private:
  std::string path_;
  UniqueFd fd_;
};

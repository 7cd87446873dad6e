#pragma once

#include <cstdint>
#include <map>
#include <string>

/**
 * Sums of the sizes of files whose paths begin alike. Every directory is read once: a day of
 * recording has many sessions in one directory of thousands of files.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the file system.
 * Errors: what cannot be read counts as nothing.
 * Units: bytes.
 */
class FileSizes {
 public:
  [[nodiscard]] uint64_t bytesOf(const std::string& pathPrefix);

 private:
  using Directory = std::map<std::string, uint64_t>;

  [[nodiscard]] static Directory read(const std::string& path);

  std::map<std::string, Directory> directories_;
};

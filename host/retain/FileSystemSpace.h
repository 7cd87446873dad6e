#pragma once

#include <cstdint>
#include <string>

/** How large a file system is, and how much of it this process may still write. Bytes. */
struct FileSystemSpace {
  uint64_t whole = 0;
  uint64_t free = 0;

  /** Asks the file system that holds an existing path; throws a failure when it cannot tell. */
  [[nodiscard]] static FileSystemSpace at(const std::string& path);
};

#pragma once

#include <string>

/**
 * A real file system of a few megabytes, in memory, mounted on a directory for as long as this
 * lives. The first one gives the process mounts of its own, which nobody else sees: construct it
 * before there is a second thread.
 *
 * Errors: the constructor and readOnly() throw std::runtime_error with the cause.
 */
class SmallFileSystem {
 public:
  /** The directory exists and is empty. */
  SmallFileSystem(const std::string& directory, unsigned int bytes);
  SmallFileSystem(const SmallFileSystem&) = delete;
  SmallFileSystem& operator=(const SmallFileSystem&) = delete;
  ~SmallFileSystem();

  /** Mounts it anew, for reading only or as before; no file may be open for writing. */
  void readOnly(bool only);

 private:
  const std::string directory_;
};

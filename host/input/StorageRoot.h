#pragma once

#include <string>

#include "host/input/RecorderName.h"

/**
 * The directory under which recorders store: an absolute path of letters, digits and "/._-" without
 * ".." components. The library puts it into SQL texts and shell commands as it is, which is why
 * nothing else is let in. Each recorder has a directory of its own below it, and the private
 * database server has one, ".ktr", which no recorder can be named.
 *
 * Threads: any thread; does not change.
 * Blocks: never; the file system is not asked.
 * Errors: parse() throws a usage error that says what a root looks like.
 */
class StorageRoot {
 public:
  /** Longest root, in bytes: leaves room for "/NAME/YYYY/MM/DD/" in a column of 255 characters. */
  static constexpr size_t MAX_LENGTH = 200;

  /** A relative text is taken from currentDirectory; "//", "/./" and a trailing "/" are dropped. */
  [[nodiscard]] static StorageRoot parse(const std::string& text,
                                         const std::string& currentDirectory);
  /** As above, from the current directory of the process. */
  [[nodiscard]] static StorageRoot parse(const std::string& text);

  [[nodiscard]] const std::string& path() const { return path_; }
  /** The storage directory of one recorder. */
  [[nodiscard]] std::string recorderDirectory(const RecorderName& name) const {
    return path_ + "/" + name.text();
  }
  /** The directory of the private database server. */
  [[nodiscard]] std::string serverDirectory() const { return path_ + "/.ktr"; }
  /** Where frames of a recorder wait that cannot be recorded yet. */
  [[nodiscard]] std::string spoolDirectory(const RecorderName& name) const {
    return serverDirectory() + "/spool/" + name.text();
  }

 private:
  explicit StorageRoot(std::string path) : path_(std::move(path)) {}

  std::string path_;
};

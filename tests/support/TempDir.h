#pragma once

#include <string>

#include "runtime/KTString.h"

/** A directory of its own under TMPDIR or /tmp, removed with all that is in it at destruction. */
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();

  [[nodiscard]] const std::string& path() const { return path_; }
  /** The path of an entry in the directory. */
  [[nodiscard]] KTString entry(const std::string& name) const;

 private:
  std::string path_;
};

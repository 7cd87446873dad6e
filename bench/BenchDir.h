#pragma once

#include <string>

/**
 * A directory of its own for a scenario's files, removed with it. It lies below the directory that
 * KTR_BENCH_DIR names, or the current one: what is measured is that disk.
 *
 * Errors: the constructor throws std::runtime_error when it cannot be made.
 */
class BenchDir {
 public:
  BenchDir();
  BenchDir(const BenchDir&) = delete;
  BenchDir& operator=(const BenchDir&) = delete;
  ~BenchDir();

  [[nodiscard]] std::string entry(const std::string& name) const { return path_ + "/" + name; }
  [[nodiscard]] static std::string parent();

 private:
  std::string path_;
};

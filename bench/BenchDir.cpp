#include "bench/BenchDir.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

std::string BenchDir::parent() {
  const char* named = std::getenv("KTR_BENCH_DIR");
  return named == nullptr ? "." : named;
}

BenchDir::BenchDir() : path_(parent() + "/ktr-bench-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) {
    throw std::runtime_error("cannot make " + path_ + ": let KTR_BENCH_DIR name a directory");
  }
}

BenchDir::~BenchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

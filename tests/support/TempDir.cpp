#include "tests/support/TempDir.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>

TempDir::TempDir() : path_((std::filesystem::temp_directory_path() / "ktr-test-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

KTString TempDir::entry(const std::string& name) const {
  return KTString(path_ + "/" + name);
}

#include "tests/host/HostTestRoot.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "host/HostError.h"
#include "host/server/OptionFile.h"
#include "host/server/ServerControl.h"

namespace {

/** Built before the first use of the client library. */
[[maybe_unused]] const bool pointed =
    (OptionFile::useInThisProcess(HostTestRoot::shared().paths()), true);

}  // namespace

HostTestRoot::HostTestRoot()
    : path_((std::filesystem::temp_directory_path() / "ktr-host-XXXXXX").string()) {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
}

HostTestRoot::~HostTestRoot() {
  try {
    ServerControl(paths()).stop(true);
  } catch (const HostError& error) {
    std::cerr << error.what() << std::endl;
  }
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

const HostTestRoot& HostTestRoot::shared() {
  static const HostTestRoot root;
  return root;
}

#include "bench/Environment.h"

#include <benchmark/benchmark.h>
#include <sys/utsname.h>
#include <sys/vfs.h>

#include <iostream>
#include <sstream>
#include <string>

#include "bench/BenchDir.h"

namespace {

std::string kernel() {
  utsname names{};
  uname(&names);
  return std::string(names.release) + " " + names.machine;
}

// The type's number as statfs(2) lists it; ef53 is ext4.
std::string fileSystem() {
  struct statfs status {};
  if (statfs(BenchDir::parent().c_str(), &status) != 0) return "unknown";
  std::ostringstream text;
  text << BenchDir::parent() << ", type " << std::hex << status.f_type;
  return text.str();
}

}  // namespace

void describeEnvironment() {
  benchmark::AddCustomContext("build", KTR_BUILD_TYPE);
  benchmark::AddCustomContext("kernel", kernel());
  benchmark::AddCustomContext("files", fileSystem());
#ifndef __OPTIMIZE__
  std::cerr << "ktr_bench: this build is not optimised; for numbers use: "
               "cmake --workflow --preset bench\n";
#endif
}

#include "tests/support/ShellCalls.h"

#include <dlfcn.h>

#include <cstdlib>
#include <mutex>

#include "tests/support/FaultCalls.h"

namespace {

struct Calls {
  std::mutex mutex;
  std::vector<std::string> commands;
  bool recording = false;
};

Calls& calls() {
  static auto* const all = new Calls;
  return *all;
}

}  // namespace

// The test program's definition comes before the C library's own for every caller, provided that
// it can be seen.
#pragma GCC visibility push(default)
extern "C" int system(const char* command) {
  static auto* const next = reinterpret_cast<decltype(&system)>(dlsym(RTLD_NEXT, "system"));
  {
    const std::lock_guard lock(calls().mutex);
    if (calls().recording && command != nullptr) calls().commands.emplace_back(command);
  }
  FaultCalls::killIfDue("system", command == nullptr ? "" : command);
  return next(command);
}
#pragma GCC visibility pop

ShellCalls::ShellCalls() {
  const std::lock_guard lock(calls().mutex);
  calls().commands.clear();
  calls().recording = true;
}

ShellCalls::~ShellCalls() {
  const std::lock_guard lock(calls().mutex);
  calls().recording = false;
}

std::vector<std::string> ShellCalls::commands() const {
  const std::lock_guard lock(calls().mutex);
  return calls().commands;
}

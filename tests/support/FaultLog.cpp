#include "tests/support/FaultLog.h"

#include <mutex>

namespace {

struct Log {
  std::mutex mutex;
  std::vector<std::string> lines;
};

// Never destroyed: a fault may come after the static objects are gone.
Log& log() {
  static auto* const all = new Log;
  return *all;
}

}  // namespace

void FaultLog::note(const std::string& fault) {
  const std::lock_guard lock(log().mutex);
  log().lines.push_back(fault);
}

std::vector<std::string> FaultLog::lines() {
  const std::lock_guard lock(log().mutex);
  return log().lines;
}

void FaultLog::clear() {
  const std::lock_guard lock(log().mutex);
  log().lines.clear();
}

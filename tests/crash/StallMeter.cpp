#include "tests/crash/StallMeter.h"

#include <algorithm>
#include <chrono>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {
constexpr milliseconds STEP(20);
}  // namespace

StallMeter::StallMeter() : thread_([this] { run(); }) {}

StallMeter::~StallMeter() {
  stop_ = true;
  thread_.join();
}

void StallMeter::run() {
  while (!stop_) {
    const steady_clock::time_point begin = steady_clock::now();
    std::this_thread::sleep_for(STEP);
    const auto slept = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin - STEP);
    longestMs_ = std::max<std::int64_t>(longestMs_, slept.count());
  }
}

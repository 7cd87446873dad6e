// What the fuzz targets share: demands on the code under test, and the input taken piece by piece.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "runtime/KTLogger.h"

using FuzzBytes = std::span<const unsigned char>;

/** What every target defines: one input, from libFuzzer or from the replay of the corpus. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/** Ends the process, which is how a finding is reported, unless the demand holds. Any thread. */
inline void fuzzRequire(bool holds, const char* demand) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: this does not hold: %s\n", demand);
  std::abort();
}

/** The bytes of an input, taken from its front; past the end everything is 0 or empty. A value. */
class FuzzInput {
 public:
  explicit FuzzInput(FuzzBytes bytes) : left_(bytes) {}

  [[nodiscard]] unsigned int byte() {
    const FuzzBytes taken = bytes(1);
    return taken.empty() ? 0 : taken[0];
  }
  [[nodiscard]] unsigned int word() {
    const unsigned int low = byte();
    return low | byte() << 8;
  }
  [[nodiscard]] FuzzBytes bytes(size_t wanted) {
    const FuzzBytes taken = left_.first(std::min(wanted, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }
  [[nodiscard]] FuzzBytes rest() { return bytes(left_.size()); }
  [[nodiscard]] bool empty() const { return left_.empty(); }

 private:
  FuzzBytes left_;
};

inline std::string fuzzText(FuzzBytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/** Log lines are formatted, which is tested with the rest, and go nowhere. */
class SilentLog : public KTLogSink {
 public:
  static void use() {
    static const bool once = [] {
      KTLogger::instance()->setSink(std::make_shared<SilentLog>());
      return true;
    }();
    fuzzRequire(once, "the log is silent");
  }
  void write(int, std::string_view line) override {
    fuzzRequire(!line.empty(), "no log line is empty");
  }
};

#include <benchmark/benchmark.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <string_view>
#include <vector>

#include "bench/BenchCheck.h"
#include "bench/Environment.h"
#include "runtime/KTLogSink.h"
#include "runtime/KTLogger.h"

namespace {

constexpr const char* USAGE =
    "usage: ktr_bench [--json] [--benchmark_filter=REGEX] [--benchmark_repetitions=N] ...\n"
    "Measures the library's parts next to bare loops of the same calls. Files go below the\n"
    "directory that KTR_BENCH_DIR names, or the current one. --json prints for machines; all\n"
    "options of Google Benchmark are taken.\n";

class Silence : public KTLogSink {
 public:
  void write(int, std::string_view) override {}
};

std::vector<char*> translated(int count, char** words) {
  static char json[] = "--benchmark_format=json";
  std::vector<char*> all(words, words + count);
  for (char*& word : all) {
    if (std::strcmp(word, "--json") == 0) word = json;
  }
  return all;
}

bool asksForHelp(const std::vector<char*>& words) {
  for (const char* word : words) {
    if (std::strcmp(word, "--help") == 0) return true;
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> words = translated(argc, argv);
  if (asksForHelp(words)) {
    std::cout << USAGE;
    return 0;
  }
  benchmark::Initialize(&argc, words.data());
  if (benchmark::ReportUnrecognizedArguments(argc, words.data())) {
    std::cerr << USAGE;
    return 2;
  }
  const auto former = KTLogger::instance()->setSink(std::make_shared<Silence>());
  describeEnvironment();
  benchmark::RunSpecifiedBenchmarks();
  KTLogger::instance()->setSink(former);
  return BenchCheck::failed() ? 1 : 0;
}

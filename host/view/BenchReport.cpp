#include "host/view/BenchReport.h"

#include <cstdarg>

#include "host/view/ByteText.h"
#include "runtime/KTString.h"

using nlohmann::ordered_json;

namespace {

std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string text(const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return line;
}

// Microseconds as people read them.
std::string duration(double us) {
  if (us < 1000) return text("%.1f us", us);
  return us < 1e6 ? text("%.2f ms", us / 1e3) : text("%.2f s", us / 1e6);
}

double cpuOf(const Measurement& run) {
  return run.allCpuSeconds();
}

double secondsOf(const Measurement& run) {
  return run.seconds;
}

ordered_json asJson(const Measurement& run) {
  ordered_json json = {{"seconds", run.seconds},
                       {"cpuSeconds", run.cpuSeconds},
                       {"kernelCpuSeconds", run.kernelCpuSeconds},
                       {"serverCpuSeconds", run.serverCpuSeconds},
                       {"bytes", run.bytes},
                       {"operations", run.operations},
                       {"bytesPerSecond", run.bytesPerSecond()},
                       {"cpuSecondsPerGb", run.cpuSecondsPerGb()},
                       {"residentBytes", run.residentBytes},
                       {"flaws", run.flaws}};
  if (run.latencies.count() != 0) {
    json["latencyUs"] = {
        {"p50", run.latencies.p50()}, {"p99", run.latencies.p99()}, {"max", run.latencies.max()}};
  }
  for (const auto& [name, value] : run.figures) json["figures"][name] = value;
  return json;
}

ordered_json asJson(const std::vector<Measurement>& runs) {
  ordered_json list = ordered_json::array();
  for (const Measurement& run : runs) list.push_back(asJson(run));
  return list;
}

ordered_json asJson(const ScenarioResult::Comparison& comparison) {
  const std::vector<double> cpu = comparison.ratios(cpuOf);
  const std::vector<double> time = comparison.ratios(secondsOf);
  return {{"rival", comparison.rival},
          {"cpuRatio", ScenarioResult::median(cpu)},
          {"timeRatio", ScenarioResult::median(time)},
          {"cpuRatios", cpu},
          {"timeRatios", time},
          {"ours", asJson(comparison.ours)},
          {"theirs", asJson(comparison.theirs)}};
}

std::string listed(const std::vector<double>& ratios) {
  std::string list;
  for (const double ratio : ratios) list += text(list.empty() ? "%.2f" : " %.2f", ratio);
  return list;
}

}  // namespace

void BenchReport::begin(const BenchEnvironment& environment) {
  if (json_) {
    for (const auto& [name, value] : environment.lines()) all_["environment"][name] = value;
    all_["warnings"] = environment.warnings();
    all_["scenarios"] = ordered_json::array();
    return;
  }
  for (const auto& [name, value] : environment.lines()) {
    out_ << text("%-12s ", name.c_str()) << value << "\n";
  }
  for (const std::string& warning : environment.warnings()) out_ << "warning: " << warning << "\n";
  out_ << std::endl;
}

void BenchReport::add(const ScenarioResult& result) {
  if (json_) {
    ordered_json json = {{"name", result.name},
                         {"description", result.description},
                         {"unit", result.unit},
                         {"runs", asJson(result.runs)},
                         {"comparisons", ordered_json::array()}};
    for (const auto& comparison : result.comparisons) {
      json["comparisons"].push_back(asJson(comparison));
    }
    all_["scenarios"].push_back(std::move(json));
    return;
  }
  printLine(result);
  printFigures(result);
  for (const auto& comparison : result.comparisons) printComparison(comparison);
  for (const std::string& flaw : result.flaws()) out_ << "  FLAW: " << flaw << "\n";
  out_ << std::flush;
}

// Medians of all runs; the latencies are those of the run in the middle.
void BenchReport::printLine(const ScenarioResult& result) {
  const Measurement& typical = result.typicalRun();
  std::string line = text("%-14s", result.name.c_str());
  if (typical.bytes != 0) {
    line += text("  %7.1f MB/s  %6.3f CPU s/GB",
                 result.median([](const auto& run) { return run.bytesPerSecond() / 1e6; }),
                 result.median([](const auto& run) { return run.cpuSecondsPerGb(); }));
  }
  line += text("  %9.1f %ss/s",
               result.median([](const auto& run) { return run.operationsPerSecond(); }),
               result.unit.c_str());
  if (typical.latencies.count() != 0) {
    line += "  p50 " + duration(typical.latencies.p50()) + "  p99 " +
            duration(typical.latencies.p99()) + "  max " + duration(typical.latencies.max());
  }
  if (typical.residentBytes != 0) line += "  " + ByteText::format(typical.residentBytes);
  out_ << line << "\n";
}

void BenchReport::printFigures(const ScenarioResult& result) {
  out_ << text("  %s; run of %.2f s, %.3f CPU s and %.3f of the kernel's threads",
               result.description.c_str(), result.median(secondsOf),
               result.median([](const auto& run) { return run.cpuSeconds; }),
               result.median([](const auto& run) { return run.kernelCpuSeconds; }));
  const auto server = result.median([](const auto& run) { return run.serverCpuSeconds; });
  if (server > 0) out_ << text(", server %.3f CPU s", server);
  out_ << "\n";
  const Measurement& typical = result.typicalRun();
  for (const auto& [name, value] : typical.figures) {
    out_ << text("  %s %.4g\n", name.c_str(), value);
  }
}

void BenchReport::printComparison(const ScenarioResult::Comparison& comparison) {
  const std::vector<double> cpu = comparison.ratios(cpuOf);
  const std::vector<double> time = comparison.ratios(secondsOf);
  out_ << text("  against %s: CPU %.2f (%s), time %.2f (%s)\n", comparison.rival.c_str(),
               ScenarioResult::median(cpu), listed(cpu).c_str(), ScenarioResult::median(time),
               listed(time).c_str());
}

void BenchReport::finish() {
  if (json_) out_ << all_.dump(2) << std::endl;
}

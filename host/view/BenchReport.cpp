#include "host/view/BenchReport.h"

#include <cstdarg>

#include "host/ByteText.h"
#include "runtime/KTString.h"

using nlohmann::ordered_json;

namespace {

std::string text(const char* format, ...) __attribute__((format(printf, 1, 2)));

std::string text(const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  (void)vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return line;
}

// Microseconds as people read them.
std::string duration(double us) {
  if (us < 1000) return text("%.1f us", us);
  return us < 1e6 ? text("%.2f ms", us / 1e3) : text("%.2f s", us / 1e6);
}

double secondsOf(const Measurement& run) {
  return run.seconds;
}

// What is compared is the price of a byte, or of an operation where no bytes are counted: both
// sides do the same work, but not to the last byte. The server works for one side alone.
double priceOf(const Measurement& run, double cost) {
  const std::uint64_t work = run.bytes != 0 ? run.bytes : run.operations;
  return work == 0 ? 0 : cost / static_cast<double>(work);
}

double cpuPrice(const Measurement& run) {
  return priceOf(run, run.allCpuSeconds() + run.serverCpuSeconds);
}

double timePrice(const Measurement& run) {
  return priceOf(run, run.seconds);
}

double p99Of(const Measurement& run) {
  return run.latencies.p99();
}

struct Ratio {
  const char* name;
  double (*figure)(const Measurement&);
};

constexpr Ratio RATIOS[] = {{"cpu", cpuPrice}, {"time", timePrice}, {"p99", p99Of}};

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

ordered_json asJson(const ScenarioResult::Runs& runs) {
  ordered_json list = ordered_json::array();
  for (const Measurement& run : runs) list.push_back(asJson(run));
  return list;
}

ordered_json asJson(const ScenarioResult::Comparison& comparison) {
  ordered_json json = {{"rival", comparison.rival}};
  for (const Ratio& ratio : RATIOS) {
    const std::vector<double> pairs = comparison.ratios(ratio.figure);
    json[ratio.name + std::string("Ratio")] = ScenarioResult::median(pairs);
    json[ratio.name + std::string("Ratios")] = pairs;
  }
  json["ours"] = asJson(comparison.ours);
  json["theirs"] = asJson(comparison.theirs);
  return json;
}

// "cpu 0.25 (0.24 0.25 0.31)": the median, and in brackets pair by pair. Empty without any pair.
std::string ratioText(const ScenarioResult::Comparison& comparison, const Ratio& ratio) {
  const std::vector<double> pairs = comparison.ratios(ratio.figure);
  std::string list;
  for (const double pair : pairs) list += text(list.empty() ? "%.2f" : " %.2f", pair);
  if (pairs.empty()) return list;
  return text("  %s %.2f", ratio.name, ScenarioResult::median(pairs)) + " (" + list + ")";
}

// Medians of all runs; the latencies are those of the run in the middle.
std::string throughput(const ScenarioResult::Runs& runs) {
  if (ScenarioResult::typical(runs).bytes == 0) return "";
  return text(
      "  %7.1f MB/s  %6.3f CPU s/GB",
      ScenarioResult::median(runs, [](const auto& run) { return run.bytesPerSecond() / 1e6; }),
      ScenarioResult::median(runs, [](const auto& run) { return run.cpuSecondsPerGb(); }));
}

std::string operations(const ScenarioResult::Runs& runs, const std::string& unit) {
  return text(
      "  %9.1f %ss/s",
      ScenarioResult::median(runs, [](const auto& run) { return run.operationsPerSecond(); }),
      unit.c_str());
}

std::string latencies(const ScenarioResult::Runs& runs) {
  const Latencies& all = ScenarioResult::typical(runs).latencies;
  if (all.count() == 0) return "";
  return "  p50 " + duration(all.p50()) + "  p99 " + duration(all.p99()) + "  max " +
         duration(all.max());
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
  for (const auto& comparison : result.comparisons) printComparison(comparison, result.unit);
  for (const std::string& flaw : result.flaws()) out_ << "  FLAW: " << flaw << "\n";
  out_ << std::flush;
}

void BenchReport::printLine(const ScenarioResult& result) {
  out_ << text("%-14s", result.name.c_str()) << throughput(result.runs)
       << operations(result.runs, result.unit) << latencies(result.runs);
  const std::uint64_t resident = ScenarioResult::typical(result.runs).residentBytes;
  if (resident != 0) out_ << "  " << ByteText::format(resident);
  out_ << "\n";
}

void BenchReport::printFigures(const ScenarioResult& result) {
  const auto median = [&](double (*figure)(const Measurement&)) {
    return ScenarioResult::median(result.runs, figure);
  };
  out_ << text("  %s; run of %.2f s, %.3f CPU s and %.3f of the kernel's threads",
               result.description.c_str(), median(secondsOf),
               median([](const Measurement& run) { return run.cpuSeconds; }),
               median([](const Measurement& run) { return run.kernelCpuSeconds; }));
  const double server = median([](const Measurement& run) { return run.serverCpuSeconds; });
  if (server > 0) out_ << text(", server %.3f CPU s", server);
  out_ << "\n";
  for (const auto& [name, value] : ScenarioResult::typical(result.runs).figures) {
    out_ << text("  %s %.4g\n", name.c_str(), value);
  }
}

// The other's operations may be blocks: they are told only where they are all that is counted.
void BenchReport::printComparison(const ScenarioResult::Comparison& comparison,
                                  const std::string& unit) {
  const std::string work = throughput(comparison.theirs);
  out_ << "  against " << comparison.rival << ":"
       << (work.empty() ? operations(comparison.theirs, unit) : work)
       << latencies(comparison.theirs) << "\n  ";
  for (const Ratio& ratio : RATIOS) out_ << ratioText(comparison, ratio);
  out_ << "\n";
}

void BenchReport::finish() {
  if (json_) out_ << all_.dump(2) << std::endl;
}

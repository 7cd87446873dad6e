#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "host/bench/BenchEnvironment.h"
#include "host/bench/ScenarioResult.h"

/**
 * Prints what was measured: the environment first, then a line a scenario with its comparisons
 * below it, each as soon as it is there; or one JSON object at the end. Ratios are ours by theirs,
 * of the price of a byte or, where no bytes are counted, of an operation. One thread at a time.
 */
class BenchReport {
 public:
  BenchReport(std::ostream& out, bool json) : out_(out), json_(json) {}

  void begin(const BenchEnvironment& environment);
  void add(const ScenarioResult& result);
  void finish();

 private:
  void printLine(const ScenarioResult& result);
  void printFigures(const ScenarioResult& result);
  void printComparison(const ScenarioResult::Comparison& comparison, const std::string& unit);

  std::ostream& out_;
  const bool json_;
  nlohmann::ordered_json all_;
};

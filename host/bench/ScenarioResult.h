#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/bench/Measurement.h"

/** All runs of one scenario and of what it was compared with. A value. */
struct ScenarioResult {
  /** A figure of a run, such as its processor time. */
  using Figure = std::function<double(const Measurement&)>;

  struct Comparison {
    std::string rival;
    std::vector<Measurement> ours;    // pair by pair, run right before or after
    std::vector<Measurement> theirs;  // as many

    /** Ours by theirs, pair by pair. */
    [[nodiscard]] std::vector<double> ratios(const Figure& figure) const;
  };

  std::string name;
  std::string description;
  std::string unit;
  std::vector<Measurement> runs;  // at least one; those of the comparisons are among them
  std::vector<Comparison> comparisons;

  [[nodiscard]] double median(const Figure& figure) const;
  /** The run whose time is the median: for what cannot be averaged. */
  [[nodiscard]] const Measurement& typicalRun() const;
  /** Of all runs, those of the rivals too. */
  [[nodiscard]] std::vector<std::string> flaws() const;

  /** Of an odd number the middle one, else the mean of the two; 0 of none. */
  [[nodiscard]] static double median(std::vector<double> values);
};

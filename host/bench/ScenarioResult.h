#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/bench/Measurement.h"

/** All runs of one scenario and of what it was compared with. A value. */
struct ScenarioResult {
  using Runs = std::vector<Measurement>;
  /** A figure of a run, such as its processor time. */
  using Figure = std::function<double(const Measurement&)>;

  struct Comparison {
    std::string rival;
    Runs ours;    // pair by pair, run right before or after
    Runs theirs;  // as many

    /** Ours by theirs, pair by pair. */
    [[nodiscard]] std::vector<double> ratios(const Figure& figure) const;
  };

  std::string name;
  std::string description;
  std::string unit;
  Runs runs;  // at least one; those of the comparisons are among them
  std::vector<Comparison> comparisons;

  /** Of all runs, those of the rivals too. */
  [[nodiscard]] std::vector<std::string> flaws() const;

  [[nodiscard]] static double median(const Runs& runs, const Figure& figure);
  /** The run whose time is the median, of at least one: for what cannot be averaged. */
  [[nodiscard]] static const Measurement& typical(const Runs& runs);
  /** Of an odd number the middle one, else the mean of the two; 0 of none. */
  [[nodiscard]] static double median(std::vector<double> values);
};

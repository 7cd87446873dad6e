#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/bench/Measurement.h"

/**
 * Something that does the same work as a scenario in another way, to compare with: a bare loop of
 * system calls, or another program.
 *
 * Threads: the main thread.
 */
class Rival {
 public:
  Rival() = default;
  Rival(const Rival&) = delete;
  Rival& operator=(const Rival&) = delete;
  virtual ~Rival() = default;

  [[nodiscard]] virtual std::string name() const = 0;
  /** Does the work once. */
  [[nodiscard]] virtual Measurement run() = 0;
};

/**
 * One thing that recorders do, done by the library and measured. Listed in AllScenarios.cpp.
 *
 * Owns: what it makes under its BenchPlace; the place removes that in the end.
 * Threads: the main thread; a scenario may use threads of its own within run().
 * Blocks: for as long as the work takes.
 * Errors: HostError for what cannot be measured; what was measured and does not add up is told by
 *   the measurement's flaws.
 */
class Scenario {
 public:
  Scenario() = default;
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;
  virtual ~Scenario() = default;

  /** The word by which it is chosen; variants add theirs, as in "record-32". */
  [[nodiscard]] virtual std::string name() const = 0;
  /** What it does, in a line. */
  [[nodiscard]] virtual std::string description() const = 0;
  /** What an operation is: "frame", "load", "event". */
  [[nodiscard]] virtual std::string unit() const = 0;
  /** Makes what all runs need. Not measured. */
  virtual void prepare() {}
  /** Does the work once, and measures it alone. */
  [[nodiscard]] virtual Measurement run() = 0;
  /** What to compare with, as far as it is installed. Called after prepare(). */
  [[nodiscard]] virtual std::vector<std::unique_ptr<Rival>> rivals() { return {}; }
};

#pragma once

#include <functional>

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * Another program that does the work of a scenario into a directory. Its processor time is that of
 * its whole process; what it writes must be about as much as the footage. One that stands still is
 * ended and run again, since GStreamer's splitmuxsink does so at its end now and then; what was
 * measured is a run that has ended by itself.
 *
 * Blocks: run() until the program has ended and what it wrote is on the disk.
 */
class ProgramRival : public Rival {
 public:
  struct Work {
    std::string name;
    /** The words of its command line, for a directory to write to. */
    std::function<std::vector<std::string>(const std::string&)> words;
    std::uint64_t bytes;  // of footage
    std::uint64_t frames;
    /** After which it stands still for ever; 0 for many times what such footage can take. */
    unsigned int limitSeconds = 0;
  };

  ProgramRival(BenchPlace& place, Work work) : place_(place), work_(std::move(work)) {}

  /** Whether a program of this name is on this machine. */
  [[nodiscard]] static bool isInstalled(const std::string& program);
  /** Whether a program ends with status 0; what it says goes nowhere. */
  [[nodiscard]] static bool succeeds(const std::vector<std::string>& words);

  [[nodiscard]] std::string name() const override { return work_.name; }
  [[nodiscard]] Measurement run() override;

 private:
  [[nodiscard]] int runOnce(Measurement& result) const;
  [[nodiscard]] unsigned int limitSeconds() const;
  void check(const std::string& directory, int status, Measurement& result) const;

  BenchPlace& place_;
  const Work work_;
};

#pragma once

#include "host/bench/BenchMovie.h"
#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * Frames of one stream into its slices, as fast as the disk takes them: the store alone, with the
 * flushes of 11 seconds of footage each, and nothing but the store. The frames come from memory
 * that no cache of the processor holds. Each is timed: the longest is a flush.
 */
class AppendScenario : public Scenario {
 public:
  AppendScenario(BenchPlace& place, std::shared_ptr<BenchMovie> movie, unsigned int seconds)
      : place_(place), movie_(std::move(movie)), seconds_(seconds) {}

  [[nodiscard]] std::string name() const override { return "append"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  void write(const std::string& prefix, Measurement& result) const;
  void checkFiles(const std::string& directory, Measurement& result) const;

  BenchPlace& place_;
  const std::shared_ptr<BenchMovie> movie_;  // of the same footage
  const unsigned int seconds_;               // of footage
  std::vector<KTDataBlock> frames_;
};

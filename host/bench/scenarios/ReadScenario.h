#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/** Frame after frame out of a chain of slices that the page cache holds: the store alone. */
class ReadScenario : public Scenario {
 public:
  ReadScenario(BenchPlace& place, unsigned int seconds) : place_(place), seconds_(seconds) {}

  [[nodiscard]] std::string name() const override { return "read"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  [[nodiscard]] std::uint64_t frames() const {
    return std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  }
  [[nodiscard]] std::vector<std::string> files() const;
  void write();

  BenchPlace& place_;
  const unsigned int seconds_;  // of footage
  std::string directory_;
  std::uint64_t bytes_ = 0;  // of all slices
};

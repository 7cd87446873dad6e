#pragma once

#include "host/bench/BenchMovie.h"
#include "host/bench/BenchRecording.h"
#include "host/bench/Scenario.h"

/** A recording into an .mp4 file, as `ktr play` writes it. */
class ExportScenario : public Scenario {
 public:
  ExportScenario(BenchPlace& place, std::shared_ptr<BenchRecording> recording,
                 std::shared_ptr<BenchMovie> movie)
      : place_(place), recording_(std::move(recording)), movie_(std::move(movie)) {}

  [[nodiscard]] std::string name() const override { return "export"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override { recording_->record(); }
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  [[nodiscard]] std::uint64_t writeTo(const std::string& path) const;

  BenchPlace& place_;
  const std::shared_ptr<BenchRecording> recording_;
  const std::shared_ptr<BenchMovie> movie_;  // of the same footage
};

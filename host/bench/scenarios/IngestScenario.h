#pragma once

#include "host/bench/BenchMovie.h"
#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * A movie into slices, as `ktr record` takes it, but as fast as it goes: read and taken apart by
 * libavformat, through a record session, with its rows in the index. This is the work of the
 * programs that it is compared with, from the same file.
 */
class IngestScenario : public Scenario {
 public:
  IngestScenario(BenchPlace& place, std::shared_ptr<BenchMovie> movie)
      : place_(place), movie_(std::move(movie)) {}

  [[nodiscard]] std::string name() const override { return "ingest"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override { (void)movie_->path(); }
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  [[nodiscard]] std::uint64_t record(const std::string& recorder) const;

  BenchPlace& place_;
  const std::shared_ptr<BenchMovie> movie_;
  unsigned int runs_ = 0;
};

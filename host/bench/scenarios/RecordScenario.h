#pragma once

#include "host/bench/BenchMovie.h"
#include "host/bench/BenchPlace.h"
#include "host/bench/LiveStreams.h"
#include "host/bench/Scenario.h"

/**
 * Live streams recorded at once, each frame given to its session soon after its time: what a
 * stream costs, and whether all of them are kept up with. What it costs is measured when their
 * buffers have been filled twice: until then they take memory for the first time, and what that
 * costs, with the start of the sessions, is shown by itself. Queues and latencies are of the whole
 * time. The latency shown is that of commit(): how long a frame keeps up who brings it.
 */
class RecordScenario : public Scenario {
 public:
  RecordScenario(BenchPlace& place, unsigned int streams);

  [[nodiscard]] std::string name() const override { return name_; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "frame"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;
  /** Of 32 streams alone: a pair takes minutes. */
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  void measure(LiveStreams& live, Measurement& result) const;
  [[nodiscard]] double shareOf(double cpuSeconds, const Measurement& measured) const;
  void addFigures(const LiveStreams& live, double feederCpu, double commitCpu,
                  Measurement& result) const;

  BenchPlace& place_;
  const std::string name_;
  const unsigned int streams_;
  const unsigned int settlingSeconds_;
  const unsigned int seconds_;
  BenchMovie movie_;
  unsigned int runs_ = 0;
};

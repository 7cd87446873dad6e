#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"
#include "recording/KTRStreamRecordParams.h"

/**
 * Record sessions that begin and end, one after the other: from the first key frame to the open
 * record session, which is the latency shown, and from the wish to stop to the closed file.
 */
class SessionScenario : public Scenario {
 public:
  explicit SessionScenario(BenchPlace& place);

  [[nodiscard]] std::string name() const override { return "session"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "session"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;

 private:
  struct Times;

  void recordOnce(const KTRStreamRecordParams& params, Times& times) const;

  BenchPlace& place_;
  const unsigned int sessions_;
  unsigned int runs_ = 0;
};

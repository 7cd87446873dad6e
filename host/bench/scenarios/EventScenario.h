#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/** Sensor events that come as fast as they are taken, each stored as a row with its data. */
class EventScenario : public Scenario {
 public:
  explicit EventScenario(BenchPlace& place);

  [[nodiscard]] std::string name() const override { return "event"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "event"; }
  [[nodiscard]] Measurement run() override;

 private:
  BenchPlace& place_;
  const unsigned int events_;
  unsigned int runs_ = 0;
};

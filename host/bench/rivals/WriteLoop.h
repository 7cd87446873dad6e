#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * A bare loop of write(2) through the page cache: the same bytes in the same large pieces into
 * files of the same size, with nothing around it.
 */
class WriteLoop : public Rival {
 public:
  WriteLoop(BenchPlace& place, unsigned int seconds) : place_(place), seconds_(seconds) {}

  [[nodiscard]] std::string name() const override { return "write(2), 11 s at a time"; }
  [[nodiscard]] Measurement run() override;

 private:
  BenchPlace& place_;
  const unsigned int seconds_;  // of footage
};

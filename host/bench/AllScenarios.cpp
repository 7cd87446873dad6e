#include "host/bench/AllScenarios.h"

#include "host/bench/scenarios/AppendScenario.h"

Scenarios makeAllScenarios(BenchPlace& place) {
  Scenarios scenarios;
  scenarios.push_back(std::make_unique<AppendScenario>(place));
  return scenarios;
}

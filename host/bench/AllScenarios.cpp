#include "host/bench/AllScenarios.h"

#include "host/bench/scenarios/AppendScenario.h"
#include "host/bench/scenarios/EventScenario.h"
#include "host/bench/scenarios/LoadScenario.h"
#include "host/bench/scenarios/RecordScenario.h"
#include "host/bench/scenarios/RetentionScenario.h"
#include "host/bench/scenarios/SessionScenario.h"

Scenarios makeAllScenarios(BenchPlace& place) {
  Scenarios scenarios;
  scenarios.push_back(std::make_unique<AppendScenario>(place));
  for (const unsigned int streams : {1U, 32U, 128U, 500U}) {
    scenarios.push_back(std::make_unique<RecordScenario>(place, streams));
  }
  scenarios.push_back(std::make_unique<LoadScenario>(place, LoadScenario::FEW_ROWS));
  scenarios.push_back(std::make_unique<LoadScenario>(place, LoadScenario::MANY_ROWS));
  scenarios.push_back(std::make_unique<SessionScenario>(place));
  scenarios.push_back(std::make_unique<EventScenario>(place));
  scenarios.push_back(std::make_unique<RetentionScenario>(place));
  return scenarios;
}

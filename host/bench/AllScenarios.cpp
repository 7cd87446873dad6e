#include "host/bench/AllScenarios.h"

#include "host/bench/scenarios/AppendScenario.h"
#include "host/bench/scenarios/EventScenario.h"
#include "host/bench/scenarios/ExportScenario.h"
#include "host/bench/scenarios/IngestScenario.h"
#include "host/bench/scenarios/LoadScenario.h"
#include "host/bench/scenarios/PlayScenario.h"
#include "host/bench/scenarios/ReadScenario.h"
#include "host/bench/scenarios/RecordScenario.h"
#include "host/bench/scenarios/RetentionScenario.h"
#include "host/bench/scenarios/SessionScenario.h"
#include "host/bench/scenarios/TogetherScenario.h"

namespace {

// Seconds of footage, and those of the short form: its recordings are more than one flush long.
constexpr unsigned int HOUR = 3600;
constexpr unsigned int CHAIN = 2200;  // 1.1 GB
constexpr unsigned int MINUTE = 60;
constexpr unsigned int SHORT = 30;
constexpr unsigned int SHORT_SPEED = 20;

void addFileScenarios(BenchPlace& place, Scenarios& scenarios) {
  const auto hour = place.size(HOUR, SHORT);
  const auto movie = std::make_shared<BenchMovie>(place, hour);
  const auto recording = std::make_shared<BenchRecording>(place, "hour", hour);
  scenarios.push_back(std::make_unique<AppendScenario>(place, movie, hour));
  scenarios.push_back(std::make_unique<IngestScenario>(place, movie));
  scenarios.push_back(std::make_unique<ReadScenario>(place, place.size(CHAIN, SHORT)));
  scenarios.push_back(std::make_unique<PlayScenario>(recording));
  scenarios.push_back(std::make_unique<ExportScenario>(place, recording, movie));
  scenarios.push_back(std::make_unique<TogetherScenario>(place, place.size(MINUTE, SHORT),
                                                         place.size(1U, SHORT_SPEED)));
}

void addDatabaseScenarios(BenchPlace& place, Scenarios& scenarios) {
  for (const unsigned int streams : {1U, 32U, 128U, 500U}) {
    scenarios.push_back(std::make_unique<RecordScenario>(place, streams));
  }
  scenarios.push_back(std::make_unique<LoadScenario>(place, LoadScenario::FEW_ROWS));
  scenarios.push_back(std::make_unique<LoadScenario>(place, LoadScenario::MANY_ROWS));
  scenarios.push_back(std::make_unique<SessionScenario>(place));
  scenarios.push_back(std::make_unique<EventScenario>(place));
  scenarios.push_back(std::make_unique<RetentionScenario>(place));
}

}  // namespace

Scenarios makeAllScenarios(BenchPlace& place) {
  Scenarios scenarios;
  addFileScenarios(place, scenarios);
  addDatabaseScenarios(place, scenarios);
  return scenarios;
}

const std::vector<std::string>& allScenarioNames() {
  static const std::vector<std::string> names{"append",     "ingest",     "read",     "play",
                                              "export",     "together",   "record-1", "record-32",
                                              "record-128", "record-500", "load-10k", "load-10m",
                                              "session",    "event",      "retention"};
  return names;
}

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

using Scenarios = std::vector<std::unique_ptr<Scenario>>;

/** Every scenario, in the order in which they run; the place outlives them. */
[[nodiscard]] Scenarios makeAllScenarios(BenchPlace& place);
/** Their names, for whoever has no place yet. */
[[nodiscard]] const std::vector<std::string>& allScenarioNames();

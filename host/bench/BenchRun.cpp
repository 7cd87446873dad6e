#include "host/bench/BenchRun.h"

#include <algorithm>

template <typename Runner>
Measurement BenchRun::measured(Runner& runner) const {
  options_.beforeRun();
  return runner.run();
}

ScenarioResult BenchRun::run(Scenario& scenario) const {
  ScenarioResult result{scenario.name(), scenario.description(), scenario.unit(), {}, {}};
  options_.progress(result.name + ": preparing");
  scenario.prepare();
  if (options_.against) {
    for (const auto& rival : scenario.rivals()) compare(scenario, *rival, result);
  }
  const size_t wanted = result.runs.empty() ? std::max(1U, options_.runs) : result.runs.size();
  while (result.runs.size() < wanted) {
    options_.progress(result.name + ": run " + std::to_string(result.runs.size() + 1) + " of " +
                      std::to_string(wanted));
    result.runs.push_back(measured(scenario));
  }
  return result;
}

// The one that goes first changes from pair to pair: what a run leaves behind, such as memory that
// is still there, is met by both.
void BenchRun::compare(Scenario& scenario, Rival& rival, ScenarioResult& result) const {
  const unsigned int pairs = options_.runs == 0 ? USUAL_PAIRS : options_.runs;
  ScenarioResult::Comparison comparison{rival.name(), {}, {}};
  for (unsigned int pair = 0; pair < pairs; ++pair) {
    options_.progress(result.name + " against " + comparison.rival + ": pair " +
                      std::to_string(pair + 1) + " of " + std::to_string(pairs));
    if (pair % 2 == 1) comparison.theirs.push_back(measured(rival));
    comparison.ours.push_back(measured(scenario));
    if (pair % 2 == 0) comparison.theirs.push_back(measured(rival));
  }
  result.runs.insert(result.runs.end(), comparison.ours.begin(), comparison.ours.end());
  result.comparisons.push_back(std::move(comparison));
}

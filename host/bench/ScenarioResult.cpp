#include "host/bench/ScenarioResult.h"

#include <algorithm>

std::vector<double> ScenarioResult::Comparison::ratios(const Figure& figure) const {
  std::vector<double> ratios;
  for (size_t i = 0; i < ours.size(); ++i) {
    const double other = figure(theirs[i]);
    if (other > 0) ratios.push_back(figure(ours[i]) / other);
  }
  return ratios;
}

double ScenarioResult::median(const Runs& runs, const Figure& figure) {
  std::vector<double> values;
  values.reserve(runs.size());
  for (const Measurement& run : runs) values.push_back(figure(run));
  return median(values);
}

const Measurement& ScenarioResult::typical(const Runs& runs) {
  std::vector<const Measurement*> order;
  order.reserve(runs.size());
  for (const Measurement& run : runs) order.push_back(&run);
  std::sort(order.begin(), order.end(),
            [](const Measurement* a, const Measurement* b) { return a->seconds < b->seconds; });
  const Measurement* const middle = order[(order.size() - 1) / 2];
  return *middle;
}

std::vector<std::string> ScenarioResult::flaws() const {
  std::vector<std::string> all;
  const auto add = [&](const Runs& each) {
    for (const Measurement& run : each) all.insert(all.end(), run.flaws.begin(), run.flaws.end());
  };
  add(runs);
  for (const Comparison& comparison : comparisons) add(comparison.theirs);
  return all;
}

double ScenarioResult::median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "host/bench/Scenario.h"

/**
 * Runs each of several forms of the same rival once and keeps the quickest: what is best differs
 * from machine to machine. At least one form must be given.
 */
template <typename Form>
std::unique_ptr<Form> quickest(std::vector<std::unique_ptr<Form>> forms) {
  std::unique_ptr<Form> best;
  double least = 0;
  for (auto& form : forms) {
    const double seconds = static_cast<Rival&>(*form).run().seconds;
    if (best != nullptr && seconds >= least) continue;
    least = seconds;
    best = std::move(form);
  }
  return best;
}

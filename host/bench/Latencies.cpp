#include "host/bench/Latencies.h"

#include <algorithm>
#include <cmath>

void Latencies::add(const Latencies& others) {
  samples_.insert(samples_.end(), others.samples_.begin(), others.samples_.end());
}

double Latencies::atShare(double share) const {
  if (samples_.empty()) return 0;
  std::vector<double> sorted(samples_);
  const auto rank = static_cast<size_t>(std::ceil(share * static_cast<double>(sorted.size())));
  const auto place = sorted.begin() + static_cast<std::ptrdiff_t>(rank == 0 ? 0 : rank - 1);
  std::nth_element(sorted.begin(), place, sorted.end());
  return *place;
}

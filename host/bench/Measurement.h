#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/bench/Latencies.h"

/**
 * What one run of a scenario, or of what it is compared with, has cost and done. A value.
 *
 * Units: seconds, bytes; operations are of the scenario's own unit.
 */
struct Measurement {
  double seconds = 0;           ///< wall clock
  double cpuSeconds = 0;        ///< user and kernel, of all threads of who did the work
  double kernelCpuSeconds = 0;  ///< of the kernel's own threads meanwhile: what was put off to them
  double serverCpuSeconds = 0;  ///< of the database server meanwhile
  std::uint64_t bytes = 0;      ///< of footage
  std::uint64_t operations = 0;
  std::uint64_t residentBytes = 0;  ///< memory that the work has added; 0 when not measured
  Latencies latencies;              ///< of single operations, where they mean something

  /** Further figures of a scenario's own, in the order in which they are shown. */
  std::vector<std::pair<std::string, double>> figures;
  /** What does not add up: frames that are missing, rows too many. Empty when all is well. */
  std::vector<std::string> flaws;

  /** Adds a flaw unless the two counts are the same. */
  void expectEqual(const std::string& what, std::uint64_t expected, std::uint64_t found) {
    if (expected == found) return;
    flaws.push_back(what + ": " + std::to_string(found) + " instead of " +
                    std::to_string(expected));
  }
  /** Notes how far the resident memory has grown from what it was; 0 when it has shrunk. */
  void addResident(std::uint64_t before, std::uint64_t now) {
    residentBytes = now > before ? now - before : 0;
  }
  /** What the work has cost the machine, the kernel's part of it included. */
  [[nodiscard]] double allCpuSeconds() const { return cpuSeconds + kernelCpuSeconds; }
  [[nodiscard]] double cpuSecondsPerGb() const {
    return bytes == 0 ? 0 : allCpuSeconds() / (static_cast<double>(bytes) / 1e9);
  }
  [[nodiscard]] double bytesPerSecond() const {
    return seconds == 0 ? 0 : static_cast<double>(bytes) / seconds;
  }
  [[nodiscard]] double operationsPerSecond() const {
    return seconds == 0 ? 0 : static_cast<double>(operations) / seconds;
  }
};

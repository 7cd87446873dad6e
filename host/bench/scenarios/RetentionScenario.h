#pragma once

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * A day of many streams is deleted, slice by slice, while as many are recorded by the same
 * recorder: the recording must not feel it. The latency shown is that of a small question to the
 * database, asked 20 times a second: how long the deletion keeps others waiting.
 *
 * The files of the day are of their right number, but small: a day of 100 streams weighs 4.3 TB.
 */
class RetentionScenario : public Scenario {
 public:
  explicit RetentionScenario(BenchPlace& place);

  [[nodiscard]] std::string name() const override { return "retention"; }
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "slice"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;

 private:
  void storeDay(KTR_DB_handle& recorder, const std::string& directory) const;
  void storeSession(class StoredPast& past, KTR_DB_handle& recorder, const std::string& directory,
                    unsigned int stream, unsigned int firstSlice, unsigned int slices) const;
  void erase(KTR_DB_handle& recorder, const std::string& recorderName, Measurement& result) const;
  [[nodiscard]] std::uint64_t slicesOfDay() const;

  BenchPlace& place_;
  const unsigned int streams_;
  const unsigned int slicesOfStream_;
  unsigned int runs_ = 0;
};

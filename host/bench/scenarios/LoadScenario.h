#pragma once

#include <random>
#include <vector>

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"

/**
 * From the wish to see a moment to its first frame: a read session is made, loaded at a random
 * second of a random stream, and gives a frame, while a recorder's index holds much or little.
 */
class LoadScenario : public Scenario {
 public:
  /** What a recorder has stored. */
  struct Size {
    const char* word;
    unsigned int sessions;
    unsigned int streams;
    unsigned int rowsOfSession;  // one a second
  };

  static const Size FEW_ROWS;
  static const Size MANY_ROWS;

  LoadScenario(BenchPlace& place, const Size& size);

  [[nodiscard]] std::string name() const override;
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] std::string unit() const override { return "load"; }
  void prepare() override;
  [[nodiscard]] Measurement run() override;
  [[nodiscard]] std::vector<std::unique_ptr<Rival>> rivals() override;

 private:
  void makeSlice(const std::string& directory);
  void store(KTR_DB_handle& recorder, const std::string& directory);
  void loadOnce(std::mt19937& random, Measurement& result) const;
  [[nodiscard]] std::uint64_t rows() const {
    return std::uint64_t{size_.sessions} * size_.rowsOfSession;
  }

  BenchPlace& place_;
  const Size size_;
  const unsigned int loads_;
  KTR_DB_handle* recorder_ = nullptr;  // the place's
  unsigned int runs_ = 0;
  std::vector<unsigned int> offsets_;  // of the slice's key frames, one a second
};

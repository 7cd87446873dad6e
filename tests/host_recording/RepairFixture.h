#pragma once

#include <string>
#include <vector>

#include "host/repair/RepairRun.h"
#include "tests/host_recording/CheckFixture.h"

/** A recorder that is damaged, repaired, and compared with what was recorded. */
class RepairFixture : public CheckFixture {
 protected:
  using CheckFixture::CheckFixture;

  /** Repairs; the test fails when anything is left. */
  RepairRun::Result repair();
  /** Repairs, and expects that every second of the recording plays as before. */
  void expectNothingLost();
  void dropDatabase();
  /** Every whole record of a session, in the order of the files. */
  [[nodiscard]] std::vector<std::string> records(unsigned int session = 1) const;
  /** What a walk over the slices of a session with the library's reader hands out. */
  [[nodiscard]] std::vector<std::string> played(unsigned int session = 1);
  /** Everything that the tables hold. */
  [[nodiscard]] std::vector<std::string> tables();
  /** Names and contents of all files. */
  [[nodiscard]] std::vector<std::string> files() const;
  /** Slices of a session, in the order of their numbers. */
  [[nodiscard]] std::vector<std::string> slices(unsigned int session = 1) const;

  std::optional<unsigned char> stream_;
};

#include <gtest/gtest.h>

#include <iostream>

#include "tests/support/FaultLog.h"

namespace {

/** Lists what was broken on purpose when a case fails. */
class FaultReport : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(const testing::TestInfo&) override { FaultLog::clear(); }
  void OnTestEnd(const testing::TestInfo& test) override {
    if (!test.result()->Failed()) return;
    for (const std::string& line : FaultLog::lines()) std::cout << "injected: " << line << "\n";
  }
};

[[maybe_unused]] const bool LISTENS = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new FaultReport);
  return true;
}();

}  // namespace

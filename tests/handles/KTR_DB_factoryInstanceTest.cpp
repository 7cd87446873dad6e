#include <gtest/gtest.h>

#include <cstdlib>

#include "handles/KTR_DB_factory.h"

// Seen in a process of its own, in which no other case has made a factory.
TEST(KTR_DB_factoryInstanceTest, IsNullBeforeAFactoryWasConstructed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(KTR_DB_factory::instance() == nullptr ? 0 : 1), testing::ExitedWithCode(0),
              "");
}

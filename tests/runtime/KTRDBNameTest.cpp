#include "runtime/KTRDBName.h"

#include <gtest/gtest.h>

namespace {

class KTRDBNameTest : public testing::Test {};

TEST_F(KTRDBNameTest, EveryRecorderHasADatabaseOfItsOwn) {
  EXPECT_STREQ(KTRDBName("front").c_str(), "ktr_front");
  EXPECT_TRUE(KTRDBName("front") != KTRDBName("Front"));
}

TEST_F(KTRDBNameTest, ANameOfADatabaseStaysAsItIs) {
  EXPECT_TRUE(KTRDBName(KTRDBName("front")) == KTRDBName("front"));
}

TEST_F(KTRDBNameTest, TheWildcardBecomesThePatternOfAllRecorders) {
  EXPECT_STREQ(KTRDBName("%").c_str(), "ktr_%");
}

}  // namespace

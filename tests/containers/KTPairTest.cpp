#include "containers/KTPair.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "runtime/KTString.h"

namespace {

class KTPairTest : public testing::Test {};

TEST_F(KTPairTest, HoldsTwoValues) {
  const KTPair<KTString, int> pair("seven", 7);
  EXPECT_STREQ(pair.first.c_str(), "seven");
  EXPECT_EQ(pair.second, 7);
}

TEST_F(KTPairTest, IsDefaultConstructedWithDefaults) {
  const KTPair<KTString, unsigned int> pair;
  EXPECT_TRUE(pair.first.empty());
  EXPECT_EQ(pair.second, 0U);
}

TEST_F(KTPairTest, CopiesAreDeep) {
  KTPair<KTString, KTString> one("a", "b");
  const KTPair<KTString, KTString> two(one);
  one.first = "x";
  one = KTPair<KTString, KTString>("c", "d");
  EXPECT_STREQ(two.first.c_str(), "a");
  EXPECT_STREQ(one.second.c_str(), "d");
}

TEST_F(KTPairTest, FirstStandsBeforeSecond) {
  const KTPair<int, int> pair(1, 2);
  EXPECT_LT(&pair.first, &pair.second);
}

TEST_F(KTPairTest, IsDestroyedThroughItsVirtualDestructor) {
  static_assert(std::has_virtual_destructor_v<KTPair<int, int>>);
}

}  // namespace

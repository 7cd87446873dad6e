#include "containers/KTMapPair.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "runtime/KTString.h"

namespace {

class KTMapPairTest : public testing::Test {
 protected:
  using Pair = KTMapPair<KTString, unsigned int>;
};

TEST_F(KTMapPairTest, IsAPairAndAddsNothing) {
  using Base = KTPair<KTString, unsigned int>;
  static_assert(std::is_base_of_v<Base, Pair>);
  static_assert(sizeof(Pair) == sizeof(Base));
  static_assert(std::has_virtual_destructor_v<Pair>);
}

TEST_F(KTMapPairTest, HoldsAKeyAndItsValue) {
  const Pair pair("stream", 3);
  EXPECT_STREQ(pair.first.c_str(), "stream");
  EXPECT_EQ(pair.second, 3U);
  EXPECT_EQ(Pair().second, 0U);
}

TEST_F(KTMapPairTest, CopiesAreDeep) {
  Pair one("stream", 3);
  const Pair two(one);
  one.first += "!";
  EXPECT_STREQ(two.first.c_str(), "stream");
}

}  // namespace

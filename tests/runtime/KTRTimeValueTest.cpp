#include "runtime/KTRTimeValue.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// Tells when it is destroyed.
class Witness : public KTRTimeValue {
 public:
  explicit Witness(bool* gone) : KTRTimeValue(1, 2), gone_(gone) {}
  ~Witness() override { *gone_ = true; }

 private:
  bool* gone_;
};

class KTRTimeValueTest : public testing::Test {};

TEST_F(KTRTimeValueTest, IsATimeValue) {
  static_assert(std::is_base_of_v<KTTimeValue, KTRTimeValue>);
  static_assert(std::has_virtual_destructor_v<KTRTimeValue>);
  const KTRTimeValue value(7, 8);
  EXPECT_TRUE(value == KTTimeValue(7, 8));
}

TEST_F(KTRTimeValueTest, IsDestroyedWholeThroughABasePointer) {
  bool gone = false;
  const KTRTimeValue* value = new Witness(&gone);
  delete value;
  EXPECT_TRUE(gone);
}

TEST_F(KTRTimeValueTest, CopiesAsAValue) {
  KTRTimeValue one(1, 2);
  KTRTimeValue two(one);
  one = KTRTimeValue(3, 4);
  EXPECT_EQ(two.tv_sec, 1);
  EXPECT_EQ(one.tv_usec, 4);
}

}  // namespace

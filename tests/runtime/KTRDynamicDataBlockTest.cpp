#include "runtime/KTRDynamicDataBlock.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// Grows its block and tells when it is destroyed.
class Holder : public KTRDynamicDataBlock {
 public:
  explicit Holder(bool* gone) : gone_(gone) {}
  ~Holder() override { *gone_ = true; }
  void add(unsigned int n) { block_ += KTDataBlock(n); }
  [[nodiscard]] unsigned int size() const { return block_.size; }

 private:
  bool* gone_;
};

class KTRDynamicDataBlockTest : public testing::Test {
 protected:
  bool gone_ = false;
};

TEST_F(KTRDynamicDataBlockTest, HoldsABlockThatGrows) {
  Holder holder(&gone_);
  EXPECT_EQ(holder.size(), 0U);
  holder.add(3);
  holder.add(4);
  EXPECT_EQ(holder.size(), 7U);
}

TEST_F(KTRDynamicDataBlockTest, IsReleasedWholeThroughABasePointer) {
  static_assert(std::has_virtual_destructor_v<KTRDynamicDataBlock>);
  auto* holder = new Holder(&gone_);
  holder->add(2000000);
  const KTRDynamicDataBlock* base = holder;
  delete base;
  EXPECT_TRUE(gone_);
}

}  // namespace

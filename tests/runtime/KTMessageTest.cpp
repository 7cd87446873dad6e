#include "runtime/KTMessage.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "runtime/KTString.h"

namespace {

class KTMessageTest : public testing::Test {
 protected:
  KTMessageTest() : message_(KTMessage::create()) {}
  ~KTMessageTest() override { message_->destroy(); }

  KTMessage* message_;
};

TEST_F(KTMessageTest, IsEmptyFromTheStart) {
  EXPECT_EQ(message_->type, 0);
  EXPECT_EQ(message_->data().size, 0U);
}

TEST_F(KTMessageTest, ItsTypeComesFirstAndIsASignedWord) {
  static_assert(std::is_same_v<decltype(KTMessage::type), std::int32_t>);
  EXPECT_EQ(static_cast<void*>(message_), &message_->type);
  message_->type = -5;
  EXPECT_EQ(message_->type, -5);
}

TEST_F(KTMessageTest, OwnsACopyOfItsPayload) {
  KTDataBlock block = KTString("frame").dataBlock();
  message_->data(block);
  block.writable()[0] = 'X';
  EXPECT_TRUE(message_->data() == KTString("frame").dataBlock());
}

TEST_F(KTMessageTest, IsMadeAndFreedByItsOwnOperationsOnly) {
  static_assert(!std::is_default_constructible_v<KTMessage>);
  static_assert(!std::is_copy_constructible_v<KTMessage>);
  static_assert(!std::is_destructible_v<KTMessage>);
}

}  // namespace

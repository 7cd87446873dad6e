#include "runtime/KTCriticalCode.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <type_traits>

namespace {

class KTCriticalCodeTest : public testing::Test {
 protected:
  // Ends only when nobody holds the mutex.
  void enterFromAnotherThread() {
    std::thread([this] { const KTCriticalCode guard(mutex_); }).join();
  }

  void leaveByException() {
    const KTCriticalCode guard(mutex_);
    throw std::runtime_error("out");
  }

  KTThreadMutex mutex_{KTThreadMutex::Plain};
};

TEST_F(KTCriticalCodeTest, IsNotCopyable) {
  static_assert(!std::is_copy_constructible_v<KTCriticalCode>);
  static_assert(!std::is_copy_assignable_v<KTCriticalCode>);
}

TEST_F(KTCriticalCodeTest, HoldsTheMutexToTheEndOfItsScope) {
  bool entered = false;
  std::thread other;
  {
    const KTCriticalCode guard(mutex_);
    other = std::thread([&] {
      const KTCriticalCode second(mutex_);
      entered = true;
    });
    EXPECT_FALSE(entered);
  }
  other.join();
  EXPECT_TRUE(entered);
}

TEST_F(KTCriticalCodeTest, LetsGoAtTheEndOfItsScope) {
  { const KTCriticalCode guard(mutex_); }
  enterFromAnotherThread();
}

TEST_F(KTCriticalCodeTest, LetsGoWhenAnExceptionPasses) {
  EXPECT_THROW(leaveByException(), std::runtime_error);
  enterFromAnotherThread();
}

}  // namespace

#include "runtime/KTThreadMutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "runtime/KTCriticalCode.h"

namespace {

class KTThreadMutexTest : public testing::Test {
 protected:
  // How far several threads count when each step reads, and then writes, under the mutex.
  static unsigned int countTogether(KTThreadMutex& mutex) {
    unsigned int sum = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        for (int step = 0; step < 5000; ++step) {
          mutex.lock(false);
          ++sum;
          mutex.unlock();
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    return sum;
  }

  static void lockBoth(KTThreadMutex& first, KTThreadMutex& second) {
    const KTCriticalCode one(first);
    const KTCriticalCode two(second);
  }
};

TEST_F(KTThreadMutexTest, TypesAreZeroAndOne) {
  static_assert(KTThreadMutex::Plain == 0 && KTThreadMutex::Recursive == 1);
}

TEST_F(KTThreadMutexTest, APlainMutexKeepsThreadsApart) {
  KTThreadMutex mutex(KTThreadMutex::Plain);
  EXPECT_EQ(countTogether(mutex), 20000U);
}

TEST_F(KTThreadMutexTest, ARecursiveMutexKeepsThreadsApart) {
  KTThreadMutex mutex(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  EXPECT_EQ(countTogether(mutex), 20000U);
}

TEST_F(KTThreadMutexTest, ARecursiveMutexIsLockedAgainByItsHolder) {
  KTThreadMutex mutex(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  const KTCriticalCode outer(mutex);
  const auto nested = [&]() KTR_NO_THREAD_SAFETY_ANALYSIS { const KTCriticalCode inner(mutex); };
  nested();
  nested();
}

TEST_F(KTThreadMutexTest, LocksInOneCallAndUnlocksInAnother) {
  KTThreadMutex mutex(KTThreadMutex::Plain);
  const auto lockFile = [&]() KTR_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(false); };
  const auto unlockFile = [&]() KTR_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); };
  lockFile();
  bool entered = false;
  std::thread other([&] {
    const KTCriticalCode guard(mutex);
    entered = true;
  });
  EXPECT_FALSE(entered);
  unlockFile();
  other.join();
  EXPECT_TRUE(entered);
}

TEST_F(KTThreadMutexTest, RanksAreTakenInGrowingOrder) {
  KTThreadMutex factory(KTThreadMutex::Recursive, KTThreadMutex::Factory);
  KTThreadMutex handle(KTThreadMutex::Recursive, KTThreadMutex::Handle);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  lockBoth(factory, handle);
  lockBoth(factory, connection);
  lockBoth(handle, connection);
}

TEST_F(KTThreadMutexTest, AnUnrankedMutexIsTakenAtAnyTime) {
  KTThreadMutex session(KTThreadMutex::Plain);
  KTThreadMutex readFile(KTThreadMutex::Plain);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  lockBoth(session, connection);
  lockBoth(connection, readFile);
}

#ifndef NDEBUG
TEST_F(KTThreadMutexTest, ARankOutOfOrderEndsADebugBuild) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  KTThreadMutex handle(KTThreadMutex::Recursive, KTThreadMutex::Handle);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  EXPECT_DEATH(lockBoth(connection, handle),
               "KTThreadMutex: lock order broken: rank 2 taken while 3 is held\n");
}

TEST_F(KTThreadMutexTest, RelockingAnOuterRankIsInOrder) {
  KTThreadMutex handle(KTThreadMutex::Recursive, KTThreadMutex::Handle);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  const KTCriticalCode outer(handle);
  const KTCriticalCode inner(connection);
  const auto again = [&]() KTR_NO_THREAD_SAFETY_ANALYSIS { const KTCriticalCode guard(handle); };
  again();
}

TEST_F(KTThreadMutexTest, AReleasedRankIsForgotten) {
  KTThreadMutex handle(KTThreadMutex::Recursive, KTThreadMutex::Handle);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  { const KTCriticalCode guard(connection); }
  lockBoth(handle, connection);
}

TEST_F(KTThreadMutexTest, RanksOfOtherThreadsDoNotCount) {
  KTThreadMutex handle(KTThreadMutex::Recursive, KTThreadMutex::Handle);
  KTThreadMutex connection(KTThreadMutex::Recursive, KTThreadMutex::Connection);
  const KTCriticalCode guard(connection);
  std::thread([&] { const KTCriticalCode other(handle); }).join();
}
#endif

// The main thread's objects with destructors are gone when static objects are destroyed.
TEST_F(KTThreadMutexTest, RankedMutexesAreTakenWhileStaticObjectsAreDestroyed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct LocksAtExit {
    KTThreadMutex mutex{KTThreadMutex::Recursive, KTThreadMutex::Connection};
    LocksAtExit() { const KTCriticalCode guard(mutex); }
    ~LocksAtExit() { const KTCriticalCode guard(mutex); }
  };
  EXPECT_EXIT(
      {
        static const LocksAtExit last;
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace

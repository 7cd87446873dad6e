#include "runtime/KTClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>

#include "tests/support/ManualClock.h"

namespace {

class KTClockTest : public testing::Test {
 protected:
  static KTClock& clock() { return *KTClock::instance(); }
};

TEST_F(KTClockTest, TheSystemsClockServesFirst) {
  // time() would not do: it lags behind the clock by up to a tick.
  const auto second = [] {
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  };
  const time_t before = second();
  const KTTimeValue now = clock().now();
  EXPECT_GE(now.tv_sec, before);
  EXPECT_LE(now.tv_sec, second());
  EXPECT_GE(now.tv_usec, 0);
  EXPECT_LT(now.tv_usec, 1000000);
}

TEST_F(KTClockTest, AnInstalledClockServesUntilItIsTakenBack) {
  KTClock* const system = KTClock::instance();
  {
    ManualClock manual;
    EXPECT_EQ(KTClock::instance(), &manual);
  }
  EXPECT_EQ(KTClock::instance(), system);
}

TEST_F(KTClockTest, ElapsedTimeNeverRunsBack) {
  const KTClock::Span first = clock().elapsed();
  EXPECT_GE(clock().elapsed(), first);
}

TEST_F(KTClockTest, SleepsAtLeastAsLongAsItWasTold) {
  const KTClock::Span before = clock().elapsed();
  clock().sleep(KTTimeValue(0, 2000));
  EXPECT_GE(clock().elapsed() - before, std::chrono::microseconds(2000));
}

TEST_F(KTClockTest, ADeadlineIsTheTimeOutFromNowOn) {
  ManualClock manual;
  manual.advanceSeconds(100);
  EXPECT_EQ(manual.deadline(KTTimeValue(15, 5)), std::chrono::microseconds(115000005));
}

TEST_F(KTClockTest, AnUnlimitedTimeOutHasNoDeadline) {
  EXPECT_EQ(clock().deadline(KTTimeValue::Unlimited), KTClock::Span::max());
}

TEST_F(KTClockTest, ARestLastsItsLengthAndEndsWithOthers) {
  constexpr KTClock::Span STEP = std::chrono::milliseconds(40);
  const KTClock::Span length = std::chrono::milliseconds(80);
  const KTClock::Span before = clock().elapsed();
  const KTClock::Span end = clock().restEnd(length);
  EXPECT_GE(end, before + length);
  EXPECT_LE(end, clock().elapsed() + length + STEP);
  EXPECT_EQ(end % STEP, KTClock::Span(0));
}

TEST_F(KTClockTest, AClockThatIsMovedByHandKnowsNoRest) {
  ManualClock manual;
  manual.advanceSeconds(100);
  EXPECT_EQ(manual.restEnd(std::chrono::milliseconds(80)), manual.elapsed());
}

TEST_F(KTClockTest, ATimedWaitEndsByItself) {
  std::mutex mutex;
  std::condition_variable changed;
  std::unique_lock lock(mutex);
  const KTClock::Span until = clock().elapsed() + std::chrono::milliseconds(2);
  while (clock().elapsed() < until) clock().wait(changed, lock, until);
  EXPECT_TRUE(lock.owns_lock());
}

TEST_F(KTClockTest, AWaitWithoutEndIsNotified) {
  std::mutex mutex;
  std::condition_variable changed;
  bool told = false;
  std::unique_lock lock(mutex);
  std::thread other([&] {
    const std::lock_guard guard(mutex);
    told = true;
    changed.notify_all();
  });
  while (!told) clock().wait(changed, lock, KTClock::Span::max());
  lock.unlock();
  other.join();
}

}  // namespace

#include "host/system/StopSignal.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace {

bool isReadable(int fd) {
  pollfd event{fd, POLLIN, 0};
  return poll(&event, 1, 0) == 1;
}

}  // namespace

TEST(StopSignalTest, IsRequestedBySignals) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    const StopSignal stop;
    EXPECT_FALSE(stop.requested());
    EXPECT_FALSE(isReadable(stop.fd()));
    raise(number);
    EXPECT_TRUE(stop.requested());
    EXPECT_TRUE(isReadable(stop.fd()));
    EXPECT_TRUE(stop.waitFor(0));
    EXPECT_EQ(number, stop.signalNumber());
  }
}

TEST(StopSignalTest, TakesSignalsThatWereIgnoredExceptHangup) {
  const auto interrupt = signal(SIGINT, SIG_IGN);
  const auto hangup = signal(SIGHUP, SIG_IGN);
  {
    const StopSignal stop;
    raise(SIGHUP);
    EXPECT_FALSE(stop.requested());
    raise(SIGINT);
    EXPECT_TRUE(stop.requested());
  }
  EXPECT_EQ(SIG_IGN, signal(SIGINT, interrupt));
  EXPECT_EQ(SIG_IGN, signal(SIGHUP, hangup));
}

TEST(StopSignalTest, CanBeRequestedWithoutASignal) {
  StopSignal stop;
  stop.request();
  EXPECT_TRUE(stop.waitFor(-1));
  EXPECT_EQ(0, stop.signalNumber());
}

TEST(StopSignalTest, WaitsNoLongerThanAsked) {
  const StopSignal stop;
  EXPECT_FALSE(stop.waitFor(1));
}

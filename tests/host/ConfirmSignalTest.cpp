#include "host/byevents/ConfirmSignal.h"

#include <gtest/gtest.h>

TEST(ConfirmSignalTest, TellsOfASignalOnce) {
  ConfirmSignal confirmed;
  EXPECT_FALSE(confirmed.take());
  raise(SIGUSR1);
  EXPECT_TRUE(confirmed.take());
  EXPECT_FALSE(confirmed.take());
}

TEST(ConfirmSignalTest, ForgetsTheSignalsOfAnEarlierOne) {
  {
    const ConfirmSignal before;
    raise(SIGUSR1);
  }
  ConfirmSignal confirmed;
  EXPECT_FALSE(confirmed.take());
}

TEST(ConfirmSignalTest, GivesTheFormerHandlingBack) {
  const auto former = signal(SIGUSR1, SIG_IGN);
  { const ConfirmSignal confirmed; }
  EXPECT_EQ(SIG_IGN, signal(SIGUSR1, former));
}

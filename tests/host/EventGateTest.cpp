#include "host/byevents/EventGate.h"

#include <gtest/gtest.h>

#include "tests/support/ManualClock.h"

namespace {

class EventGateTest : public testing::Test {
 protected:
  ManualClock clock_;
  EventGate gate_{std::chrono::seconds(30)};
};

TEST_F(EventGateTest, IsClosedUntilAnEventIsConfirmed) {
  EXPECT_FALSE(gate_.isOpen());
  EXPECT_EQ(0U, gate_.confirmations());
}

TEST_F(EventGateTest, ClosesWhenTheTimeAfterAnEventHasPassed) {
  gate_.confirm();
  clock_.advanceSeconds(29);
  EXPECT_TRUE(gate_.isOpen());
  clock_.advanceSeconds(1);
  EXPECT_FALSE(gate_.isOpen());
}

TEST_F(EventGateTest, CountsFromTheLastConfirmation) {
  gate_.confirm();
  clock_.advanceSeconds(29);
  gate_.confirm();
  clock_.advanceSeconds(29);
  EXPECT_TRUE(gate_.isOpen());
  EXPECT_EQ(2U, gate_.confirmations());
}

TEST_F(EventGateTest, KeepsToTheMonotonicClock) {
  gate_.confirm();
  clock_.stepWall(3600);
  EXPECT_TRUE(gate_.isOpen());
}

}  // namespace

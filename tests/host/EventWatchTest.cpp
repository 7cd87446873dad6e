#include "host/events/EventWatch.h"

#include "tests/host/EventFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class EventWatchTest : public EventFixture {
 protected:
  EventWatch watch_{catalog_, std::nullopt, NOW};
};

}  // namespace

TEST_F(EventWatchTest, TellsEachEventOnce) {
  add(event(1, NOW - 1));
  add(event(1, NOW));
  EXPECT_THAT(watch_.poll(), ElementsAre(event(1, NOW)));
  EXPECT_THAT(watch_.poll(), IsEmpty());
  add(event(2, NOW));
  EXPECT_THAT(watch_.poll(), ElementsAre(event(2, NOW)));
}

TEST_F(EventWatchTest, TellsEqualEventsEach) {
  add(event(1, NOW));
  EXPECT_EQ(1U, watch_.poll().size());
  add(event(1, NOW));
  EXPECT_EQ(1U, watch_.poll().size());
  EXPECT_THAT(watch_.poll(), IsEmpty());
}

TEST_F(EventWatchTest, TellsAnEventThatComesLate) {
  clock_.advanceSeconds(100);
  add(event(1, NOW + 100));
  EXPECT_EQ(1U, watch_.poll().size());
  add(event(1, NOW + 45));
  add(event(1, NOW + 30));
  EXPECT_THAT(watch_.poll(), ElementsAre(event(1, NOW + 45)));
}

TEST_F(EventWatchTest, TellsNothingTwiceHoweverLongItRuns) {
  add(event(1, NOW));
  add(event(1, NOW + 5000));
  EXPECT_EQ(2U, watch_.poll().size());
  for (int i = 0; i < 5; ++i) {
    clock_.advanceSeconds(1000);
    EXPECT_THAT(watch_.poll(), IsEmpty());
  }
}

TEST_F(EventWatchTest, TellsOfOneSensor) {
  EventWatch one(catalog_, 2, NOW);
  add(event(1, NOW));
  add(event(2, NOW));
  EXPECT_THAT(one.poll(), ElementsAre(event(2, NOW)));
}

#include "host/check/SessionWalk.h"

#include <gmock/gmock.h>

#include "tests/host/SliceFixture.h"

using testing::ElementsAre;

namespace {

class SessionWalkTest : public SliceFixture {
 protected:
  /** Walks slices: times of frames in milliseconds since noon, negative for a stray stamp. */
  std::vector<int64_t> walk(long start, uint64_t from = 0) {
    SessionWalk walk(files_, start);
    std::vector<int64_t> times;
    for (const unsigned int slice : files_.chain()) {
      last_ = walk.walk(
          slice,
          [&](const SessionWalk::Frame& frame) {
            times.push_back(frame.strayStamp ? -1 : frame.timeMs - NOON * int64_t{1000});
          },
          from);
      from = 0;
    }
    return times;
  }

  SessionWalk::Slice last_;
};

}  // namespace

TEST_F(SessionWalkTest, GivesEachFrameItsTime) {
  slice(0, key(NOON_MS) + delta(NOON_MS + 40));
  slice(1, key(NOON_MS + 80));
  EXPECT_THAT(walk(NOON), ElementsAre(0, 40, 80));
  EXPECT_EQ(1U, last_.frames);
  EXPECT_EQ(key(0).size(), last_.size);
  EXPECT_TRUE(last_.isSound());
}

TEST_F(SessionWalkTest, GoesOverMidnight) {
  slice(0, key(86'399'000) + key(500));
  EXPECT_THAT(walk(NOON + 43'000), ElementsAre(43'199'000, 43'200'500));
}

TEST_F(SessionWalkTest, AStampThatIsFarFromBothNeighboursIsStray) {
  slice(0, key(NOON_MS) + delta(NOON_MS + 40) + delta(NOON_MS + 3'600'000) + delta(NOON_MS + 120) +
               delta(NOON_MS + 160));
  EXPECT_THAT(walk(NOON), ElementsAre(0, 40, -1, 120, 160));
}

TEST_F(SessionWalkTest, EveryOtherStampMayBeStray) {
  slice(0, key(NOON_MS) + delta(NOON_MS + 40) + delta(NOON_MS + 3'600'000) + delta(NOON_MS + 120) +
               delta(NOON_MS + 3'600'080) + delta(NOON_MS + 200) + delta(NOON_MS + 240));
  EXPECT_THAT(walk(NOON), ElementsAre(0, 40, -1, 120, -1, 200, 240));
}

TEST_F(SessionWalkTest, TheFirstStampMayBeStrayToo) {
  slice(0, key(NOON_MS + 3'600'000) + delta(NOON_MS + 40) + delta(NOON_MS + 80));
  EXPECT_THAT(walk(NOON), ElementsAre(-1, 40, 80));
}

TEST_F(SessionWalkTest, AClockThatWasPutForwardIsNotStray) {
  slice(0,
        key(NOON_MS) + delta(NOON_MS + 40) + delta(NOON_MS + 600'000) + delta(NOON_MS + 600'040));
  EXPECT_THAT(walk(NOON), ElementsAre(0, 40, 600'000, 600'040));
}

TEST_F(SessionWalkTest, BeginsAtARecord) {
  slice(0, key(NOON_MS) + key(NOON_MS + 1000));
  EXPECT_THAT(walk(NOON, key(0).size()), ElementsAre(1000));
}

TEST_F(SessionWalkTest, TellsWhatIsNoRecord) {
  slice(0, key(NOON_MS) + "garbage" + key(NOON_MS + 40) + key(NOON_MS + 80).substr(0, 10));
  EXPECT_THAT(walk(NOON), ElementsAre(0, 40));
  ASSERT_EQ(2U, last_.damages.size());
  EXPECT_EQ(SliceScanner::Garbage, last_.damages[0].what);
  EXPECT_EQ(7U, last_.damages[0].range.size());
  EXPECT_EQ(SliceScanner::TornTail, last_.damages[1].what);
}

TEST_F(SessionWalkTest, ASliceThatCannotBeOpenedIsUnreadable) {
  std::filesystem::remove(slice(0, key(NOON_MS)));
  EXPECT_THAT(walk(NOON), ElementsAre());
  EXPECT_EQ(ENOENT, last_.error);
  ASSERT_EQ(1U, last_.damages.size());
  EXPECT_EQ(SliceScanner::Unreadable, last_.damages[0].what);
}

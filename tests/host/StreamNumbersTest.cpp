#include "host/repair/StreamNumbers.h"

#include <gtest/gtest.h>

namespace {

SessionIdentity pictures(const char* settings, long start, long end) {
  return {std::nullopt, {"n", settings, 0}, 25, start, end};
}

SessionIdentity sound(const char* settings, long start, long end) {
  return {std::nullopt, {"n", settings, 1}, 15, start, end};
}

}  // namespace

TEST(StreamNumbersTest, SessionsAlikeThatFollowEachOtherAreOneStream) {
  StreamNumbers streams(std::nullopt);
  EXPECT_EQ(1U, streams.find(pictures("a", 100, 200)));
  EXPECT_EQ(2U, streams.find(pictures("a", 150, 250)));
  EXPECT_EQ(3U, streams.find(pictures("b", 150, 250)));
  EXPECT_EQ(2U, streams.find(pictures("a", 251, 300)));
  EXPECT_EQ(1U, streams.find(pictures("a", 260, 300)));
}

TEST(StreamNumbersTest, KnownStreamsComeFirst) {
  StreamNumbers streams(std::nullopt);
  SessionIdentity known = pictures("a", 100, 200);
  known.stream = 7;
  streams.add(known);
  EXPECT_EQ(7U, streams.find(pictures("a", 300, 400)));
  known.stream = 9;
  EXPECT_EQ(9U, streams.find(known));
}

TEST(StreamNumbersTest, SoundBelongsToThePicturesThatBeganWithIt) {
  StreamNumbers streams(std::nullopt);
  EXPECT_EQ(1U, streams.find(pictures("a", 100, 200)));
  EXPECT_EQ(2U, streams.find(pictures("b", 150, 200)));
  EXPECT_EQ(130U, streams.find(sound("s", 151, 200)));
  EXPECT_EQ(129U, streams.find(sound("s", 101, 200)));
  EXPECT_EQ(131U, streams.find(sound("t", 170, 200)));
}

TEST(StreamNumbersTest, AFixedNumberHoldsForAll) {
  StreamNumbers streams(5);
  EXPECT_EQ(5U, streams.find(pictures("a", 100, 200)));
  EXPECT_EQ(5U, streams.find(pictures("b", 100, 200)));
  EXPECT_EQ(133U, streams.find(sound("s", 100, 200)));
}

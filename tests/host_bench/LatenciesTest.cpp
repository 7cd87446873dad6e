#include "host/bench/Latencies.h"

#include <gtest/gtest.h>

namespace {

Latencies upTo(int microseconds) {
  Latencies latencies;
  for (int i = microseconds; i > 0; --i) latencies.add(std::chrono::microseconds(i));
  return latencies;
}

}  // namespace

TEST(LatenciesTest, PlacesAreTheSmallestSampleThatCoversTheShare) {
  const Latencies latencies = upTo(200);
  EXPECT_EQ(100, latencies.p50());
  EXPECT_EQ(198, latencies.p99());
  EXPECT_EQ(200, latencies.max());
  EXPECT_EQ(1, latencies.atShare(0));
}

TEST(LatenciesTest, OneSampleIsEveryPlace) {
  const Latencies one = upTo(1);
  EXPECT_EQ(1, one.p50());
  EXPECT_EQ(1, one.p99());
  EXPECT_EQ(1, one.max());
}

TEST(LatenciesTest, NoneIsZero) {
  EXPECT_EQ(0, Latencies().p99());
}

TEST(LatenciesTest, TakesOverWhatAnotherThreadHasCollected) {
  Latencies all = upTo(2);
  all.add(upTo(4));
  EXPECT_EQ(6U, all.count());
  EXPECT_EQ(4, all.max());
}

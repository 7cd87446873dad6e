#include "host/media/NalUnits.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

std::vector<Bytes> unitsOf(const Bytes& annexB) {
  std::vector<Bytes> all;
  for (NalUnits units(annexB); units.next();) {
    all.emplace_back(units.unit().begin(), units.unit().end());
  }
  return all;
}

TEST(NalUnitsTest, BothLengthsOfStartCodesSeparateUnits) {
  EXPECT_EQ(unitsOf({0, 0, 0, 1, 9, 240, 0, 0, 1, 101, 7}),
            (std::vector<Bytes>{{9, 240}, {101, 7}}));
}

TEST(NalUnitsTest, ZerosBehindAUnitAreNotPartOfIt) {
  EXPECT_EQ(unitsOf({0, 0, 1, 9, 5, 0, 0, 0, 0, 0, 1, 6, 0}), (std::vector<Bytes>{{9, 5}, {6}}));
}

TEST(NalUnitsTest, EmptyUnitsArePassedOver) {
  EXPECT_EQ(unitsOf({0, 0, 1, 0, 0, 1, 9}), (std::vector<Bytes>{{9}}));
  EXPECT_TRUE(unitsOf({0, 0, 1}).empty());
  EXPECT_EQ(unitsOf({0, 0, 1, 0, 5, 0, 0, 1, 0}), (std::vector<Bytes>{{0, 5}}));
}

TEST(NalUnitsTest, KindsAreToldWithoutTheUnitsAndBesideThem) {
  const Bytes annexB = {0, 0, 1, 103, 5, 0, 0, 1, 0, 0, 0, 1, 104, 6, 0, 0, 1, 101, 7};
  const std::vector<NalKind> expected = {NalKind::Sps, NalKind::Pps, NalKind::Picture};
  for (const bool withUnits : {false, true}) {
    std::vector<NalKind> kinds;
    for (NalUnits units(annexB); units.next();) {
      if (withUnits) {
        EXPECT_EQ(units.unit().size(), 2U);
      }
      kinds.push_back(units.kind(MediaCodec::H264));
    }
    EXPECT_EQ(kinds, expected);
  }
}

TEST(NalUnitsTest, BytesWithoutStartCodeHoldNoUnit) {
  EXPECT_TRUE(unitsOf({}).empty());
  EXPECT_TRUE(unitsOf({1, 2, 3, 0, 0}).empty());
}

TEST(NalUnitsTest, KindsOfH264) {
  const auto kind = [](unsigned char head) {
    return NalUnits::kindOf(MediaCodec::H264, Bytes{head});
  };
  EXPECT_EQ(kind(0x67), NalKind::Sps);
  EXPECT_EQ(kind(0x68), NalKind::Pps);
  EXPECT_EQ(kind(0x09), NalKind::Delimiter);
  EXPECT_EQ(kind(0x65), NalKind::Picture);
  EXPECT_EQ(kind(0x41), NalKind::Picture);
  EXPECT_EQ(kind(0x06), NalKind::Other);
}

TEST(NalUnitsTest, KindsOfH265) {
  const auto kind = [](unsigned char type) {
    return NalUnits::kindOf(MediaCodec::Hevc, Bytes{static_cast<unsigned char>(type << 1), 1});
  };
  EXPECT_EQ(kind(32), NalKind::Vps);
  EXPECT_EQ(kind(33), NalKind::Sps);
  EXPECT_EQ(kind(34), NalKind::Pps);
  EXPECT_EQ(kind(35), NalKind::Delimiter);
  EXPECT_EQ(kind(19), NalKind::Picture);
  EXPECT_EQ(kind(0), NalKind::Picture);
  EXPECT_EQ(kind(39), NalKind::Other);
}

}  // namespace

#include "host/media/ParameterSets.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<unsigned char>;

// NAL units joined as Annex B.
Bytes annexB(const std::vector<Bytes>& units) {
  Bytes all;
  for (const Bytes& unit : units) {
    all.insert(all.end(), {0, 0, 0, 1});
    all.insert(all.end(), unit.begin(), unit.end());
  }
  return all;
}

// The number of an H.264 set is coded in its first bits: 0x80 is 0, 0x40 is 1.
const Bytes SPS0{0x67, 66, 0xC0, 30, 0x80, 1};
const Bytes NEW_SPS0{0x67, 66, 0xC0, 31, 0x80, 2};
const Bytes SPS1{0x67, 66, 0xC0, 30, 0x40, 1};
const Bytes PPS0{0x68, 0x80, 1};
const Bytes PPS1{0x68, 0x40, 1};
const Bytes DELIMITER{9, 0xF0};
const Bytes PICTURE{0x65, 1, 2, 3};

class ParameterSetsTest : public testing::Test {
 protected:
  ParameterSets sets_{MediaCodec::H264};
};

TEST_F(ParameterSetsTest, AccessUnitWithAllSetsIsComplete) {
  EXPECT_TRUE(sets_.remember(annexB({SPS0, PPS0, PICTURE})).complete);
  EXPECT_EQ(sets_.annexB(), annexB({SPS0, PPS0}));
}

TEST_F(ParameterSetsTest, AccessUnitThatLacksAKindIsNotComplete) {
  EXPECT_FALSE(sets_.remember(annexB({PICTURE})).complete);
  EXPECT_FALSE(sets_.remember(annexB({SPS0, PICTURE})).complete);
  EXPECT_FALSE(sets_.remember(annexB({PPS0, PICTURE})).complete);
}

TEST_F(ParameterSetsTest, LatestSetOfANumberReplacesTheFormer) {
  sets_.remember(annexB({SPS0, PPS0, PICTURE}));
  sets_.remember(annexB({NEW_SPS0, PICTURE}));
  EXPECT_EQ(sets_.annexB(), annexB({NEW_SPS0, PPS0}));
}

TEST_F(ParameterSetsTest, SetsOfOtherNumbersStandBesideEachOther) {
  sets_.remember(annexB({SPS0, PPS0, PICTURE}));
  sets_.remember(annexB({PPS1, SPS1, PICTURE}));
  EXPECT_EQ(sets_.annexB(), annexB({SPS0, SPS1, PPS0, PPS1}));
}

TEST_F(ParameterSetsTest, DelimiterIsMeasuredWithItsStartCode) {
  EXPECT_EQ(sets_.remember(annexB({DELIMITER, PICTURE})).delimiterSize, 6U);
  EXPECT_EQ(sets_.remember(annexB({PICTURE})).delimiterSize, 0U);
}

TEST_F(ParameterSetsTest, NothingBehindThePictureCounts) {
  EXPECT_FALSE(sets_.remember(annexB({PICTURE, SPS0, PPS0})).complete);
  EXPECT_TRUE(sets_.annexB().empty());
}

TEST_F(ParameterSetsTest, H265NumbersAreReadBehindTheProfile) {
  ParameterSets sets(MediaCodec::Hevc);
  const Bytes vps{64, 1, 0x0C, 1};
  // One layer; the profile has emulation prevention bytes; then the number, 0 and 1.
  const Bytes sps0{66, 1, 1, 1, 0x60, 0, 0, 3, 0, 0x90, 0, 0, 3, 0, 0, 3, 0, 30, 0x80, 5};
  const Bytes sps1{66, 1, 1, 1, 0x60, 0, 0, 3, 0, 0x90, 0, 0, 3, 0, 0, 3, 0, 30, 0x40, 5};
  const Bytes pps{68, 1, 0x80, 7};
  EXPECT_TRUE(sets.remember(annexB({sps1, vps, sps0, pps})).complete);
  EXPECT_EQ(sets.annexB(), annexB({vps, sps0, sps1, pps}));
  EXPECT_FALSE(sets.remember(annexB({sps0, pps})).complete);
}

}  // namespace

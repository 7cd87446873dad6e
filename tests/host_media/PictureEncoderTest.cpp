#include "host/media/PictureEncoder.h"

#include <gtest/gtest.h>

#include <fstream>

#include "host/media/NalUnits.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

std::vector<PictureEncoder::Picture> encoded(const PictureEncoder::Form& form,
                                             unsigned int pictures) {
  return PictureEncoder(form).encode(pictures);
}

}  // namespace

TEST(PictureEncoderTest, MakesAsManyPicturesWithKeyFramesWhereTheyBelong) {
  const auto pictures = encoded({.keyInterval = 10}, 25);
  ASSERT_EQ(25U, pictures.size());
  for (size_t i = 0; i < pictures.size(); ++i) EXPECT_EQ(i % 10 == 0, pictures[i].key) << i;
}

TEST(PictureEncoderTest, KeyFramesCarryTheirParameterSets) {
  const auto pictures = encoded({}, 2);
  const std::vector<NalKind> kinds = kindsOf(MediaCodec::H264, pictures[0].bytes);
  EXPECT_EQ(1, std::count(kinds.begin(), kinds.end(), NalKind::Sps));
  EXPECT_EQ(1, std::count(kinds.begin(), kinds.end(), NalKind::Pps));
  const std::vector<NalKind> later = kindsOf(MediaCodec::H264, pictures[1].bytes);
  EXPECT_EQ(0, std::count(later.begin(), later.end(), NalKind::Sps));
}

TEST(PictureEncoderTest, KeepsTheBitRate) {
  for (const int bitRate : {2'000'000, 4'000'000}) {
    double bytes = 0;
    for (const auto& picture : encoded({.bitRate = bitRate}, 100)) {
      bytes += static_cast<double>(picture.bytes.size());
    }
    EXPECT_NEAR(bytes * 8 / 4, bitRate, bitRate / 10.0);
  }
}

TEST(PictureEncoderTest, IsTheSameAtEveryRun) {
  const auto first = encoded({}, 5);
  const auto second = encoded({}, 5);
  for (size_t i = 0; i < first.size(); ++i) EXPECT_EQ(first[i].bytes, second[i].bytes) << i;
}

TEST(PictureEncoderTest, IsWhatADecoderTakes) {
  const TempDir dir;
  const std::string path = dir.path() + "/a.h264";
  std::ofstream file(path, std::ios::binary);
  for (const auto& picture : encoded({.width = 320, .height = 240}, 30)) {
    file.write(reinterpret_cast<const char*>(picture.bytes.data()),
               static_cast<std::streamsize>(picture.bytes.size()));
  }
  file.close();
  EXPECT_EQ(30U, TestClip::pictures(path).size());
}

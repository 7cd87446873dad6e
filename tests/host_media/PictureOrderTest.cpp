#include "host/media/PictureOrder.h"

#include <gtest/gtest.h>

#include "tests/host_media/StoredFrames.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

// Checks that each picture of a clip with time stamps gets the delay that its stamps have.
void expectDelaysOf(MediaCodec codec, const TestClip::Form& form) {
  const TempDir dir;
  const std::string path = TestClip::make(dir.path() + "/a.mp4", form);
  PictureOrder order(codec, MediaInput(path).info().reorderFrames);
  for (const StoredUnit& unit : unitsOf(path)) {
    EXPECT_EQ(order.delayOf(unit.bytes) * 40, unit.ptsMs - unit.dtsMs);
  }
}

TEST(PictureOrderTest, DelaysOfH264) {
  expectDelaysOf(MediaCodec::H264, {.bFrames = 3});
}

TEST(PictureOrderTest, DelaysOfH265) {
  expectDelaysOf(MediaCodec::Hevc, {.codec = "hevc", .bFrames = 2});
}

TEST(PictureOrderTest, BytesThatAreNoPictureAreHarmless) {
  PictureOrder order(MediaCodec::H264, 2);
  const unsigned char bytes[16] = {1, 2, 3};
  EXPECT_GE(order.delayOf({bytes, 8}), 0);
}

}  // namespace

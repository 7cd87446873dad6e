#include "host/media/FrameSource.h"

#include <gtest/gtest.h>

#include "host/media/AudioFrameParser.h"
#include "runtime/KTLogger.h"
#include "runtime/KTRVideoFrame.h"
#include "tests/host_media/StoredFrames.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

constexpr size_t MOST = KTRFrameFormat::MAX_FRAME_SIZE - KTRFrameFormat::HEAD_SIZE;

class FrameSourceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    clips_ = std::make_unique<TempDir>();
    TestClip::make(clips_->path() + "/a.mp4", {.bFrames = 2});
    TestClip::make(clips_->path() + "/a.mkv", {.codec = "mjpeg"});
  }
  static void TearDownTestSuite() { clips_.reset(); }

  // Opens one of the clips.
  void open(const std::string& name) {
    input_ = std::make_unique<MediaInput>(path(name));
    source_ = std::make_unique<FrameSource>(*input_);
  }
  static std::string path(const std::string& name) { return clips_->path() + "/" + name; }

  // Offers a made-up picture and answers whether it became a frame.
  bool offer(size_t size, bool key) {
    bytes_.assign(size, 7);
    AccessUnit unit;
    unit.bytes = bytes_;
    unit.key = key;
    unit.dtsUs = unit.ptsUs = dtsUs_ += 40'000;
    return frame_.parse(source_->frameOf(unit));
  }

  static std::unique_ptr<TempDir> clips_;
  ManualClock clock_{1699948800};  // 08:00
  LogCapture log_;
  std::unique_ptr<MediaInput> input_;
  std::unique_ptr<FrameSource> source_;
  std::vector<unsigned char> bytes_;
  std::int64_t dtsUs_ = 0;
  KTRVideoFrame frame_;
};

std::unique_ptr<TempDir> FrameSourceTest::clips_;

TEST_F(FrameSourceTest, FramesCarryThePicturesUnchanged) {
  const std::vector<StoredUnit> units = unitsOf(path("a.mp4"));
  open("a.mp4");
  for (const StoredUnit& unit : units) {
    KTDataBlock frame;
    ASSERT_TRUE(source_->next(frame));
    ASSERT_TRUE(frame_.parse(frame));
    const auto size = static_cast<unsigned int>(unit.bytes.size());
    EXPECT_EQ(frame_.payload(), KTDataBlock(unit.bytes.data(), size));
    EXPECT_EQ(frame_.isKFrame(), unit.key);
    EXPECT_EQ(frame_.compositionOffset(), unit.ptsMs - unit.dtsMs);
    EXPECT_EQ(frame_.timeStamp(), 8U * 3600 * 1000 + unit.dtsMs - units.front().dtsMs);
  }
  KTDataBlock frame;
  EXPECT_FALSE(source_->next(frame));
}

TEST_F(FrameSourceTest, PicturesOfMjpegAreJpegFrames) {
  open("a.mkv");
  KTDataBlock frame;
  ASSERT_TRUE(source_->next(frame));
  ASSERT_TRUE(frame_.parse(frame));
  EXPECT_TRUE(frame_.isJpeg());
  EXPECT_EQ(frame_.compositionOffset(), 0);
}

TEST_F(FrameSourceTest, FirstFrameIsAKeyFrame) {
  open("a.mp4");
  EXPECT_FALSE(offer(100, false));
  EXPECT_TRUE(offer(100, true));
  EXPECT_TRUE(offer(100, false));
  EXPECT_EQ(source_->droppedPictures(), 0U);
}

TEST_F(FrameSourceTest, LargestPictureIsStored) {
  open("a.mp4");
  EXPECT_TRUE(offer(MOST, true));
  EXPECT_EQ(frame_.data().size, KTRFrameFormat::MAX_FRAME_SIZE);
}

TEST_F(FrameSourceTest, TooLargePictureIsDroppedWithOneWarning) {
  open("a.mp4");
  EXPECT_FALSE(offer(MOST + 1, true));
  EXPECT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.has(KTLogger::Warning,
                       "[ FrameSource ] " + path("a.mp4") +
                           ": a picture of 2097144 bytes was dropped, a frame holds at most "
                           "2097143: lower the bit rate or the picture size of the source"));
}

TEST_F(FrameSourceTest, PicturesThatNeedADroppedOneAreDroppedToo) {
  open("a.mp4");
  EXPECT_TRUE(offer(100, true));
  EXPECT_FALSE(offer(MOST + 1, false));
  EXPECT_FALSE(offer(100, false));
  EXPECT_FALSE(offer(100, false));
  EXPECT_TRUE(offer(100, true));
  EXPECT_TRUE(offer(100, false));
  EXPECT_EQ(source_->droppedPictures(), 3U);
  EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(FrameSourceTest, JpegPictureBehindADroppedOneIsStored) {
  open("a.mkv");
  EXPECT_FALSE(offer(MOST + 1, true));
  EXPECT_TRUE(offer(100, true));
  EXPECT_TRUE(frame_.isJpeg());
}

TEST_F(FrameSourceTest, RowOfTooLargePicturesIsOneWarning) {
  open("a.mkv");
  for (int i = 0; i < 5; ++i) EXPECT_FALSE(offer(MOST + 1, true));
  EXPECT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(offer(100, true));
  EXPECT_FALSE(offer(MOST + 1, true));
  EXPECT_EQ(log_.lines().size(), 2U);
  EXPECT_EQ(source_->droppedPictures(), 6U);
}

TEST_F(FrameSourceTest, JumpOfTheSourcesClockIsAWarning) {
  const TempDir dir;
  const std::string once = TestClip::make(dir.path() + "/a.ts");
  const std::string twice = dir.path() + "/b.ts";
  ASSERT_EQ(system(("cat " + once + " " + once + " > " + twice).c_str()), 0);
  EXPECT_EQ(framesOf(twice).size(), 100U);
  EXPECT_TRUE(
      log_.has(KTLogger::Warning, "[ FrameSource ] " + twice + ": the clock of the source jumped"));
}

TEST_F(FrameSourceTest, SoundBecomesFramesOfItsOwnOnTheClockOfThePictures) {
  const TempDir dir;
  const std::string url = TestClip::makeBeeps(dir.path() + "/a.mp4", "aac", {.seconds = 3});
  std::vector<AudioPacket> packets;
  unsigned int pictures = 0;
  unsigned int sounds = 0;
  for (const KTDataBlock& frame : framesOf(url, true)) {
    ASSERT_TRUE(frame_.parse(frame));
    if (frame_.kind() != KTRFrameFormat::Audio) {
      EXPECT_EQ(frame_.timeStamp(), 8U * 3600 * 1000 + 40 * pictures++);
      continue;
    }
    AudioFrameParser parser;
    ASSERT_TRUE(parser.parse(frame_.payload(), frame_.timeStamp()));
    for (const AudioPacket& packet : parser.packets()) packets.push_back(packet);
    ++sounds;
  }
  EXPECT_EQ(pictures, 75U);
  EXPECT_GT(sounds, 9U);
  EXPECT_LT(sounds, 14U);
  std::vector<AudioPacket> expected = soundOf(url).packets;
  std::erase_if(expected, [](const AudioPacket& packet) { return packet.timeUs < 0; });
  ASSERT_EQ(packets.size(), expected.size());
  for (size_t i = 0; i < packets.size(); ++i) {
    EXPECT_EQ(packets[i].bytes, expected[i].bytes);
    EXPECT_EQ(packets[i].timeUs, 8LL * 3600 * 1'000'000 + expected[i].timeUs);
  }
}

TEST_F(FrameSourceTest, NoSoundIsLostWhenTheWallClockIsPutBackByLittle) {
  const TempDir dir;
  const std::string url = TestClip::makeBeeps(dir.path() + "/a.mp4", "aac", {.seconds = 3});
  MediaInput::Options options;
  options.audio = true;
  MediaInput input(url, options);
  FrameSource source(input);
  std::vector<KTDataBlock> sound;
  std::int64_t lastMs = 0;
  unsigned int pictures = 0;
  unsigned int steps = 0;  // of the sound, backwards
  for (KTDataBlock frame; source.next(frame);) {
    ASSERT_TRUE(frame_.parse(frame));
    if (frame_.kind() != KTRFrameFormat::Audio) {
      if (++pictures == 35) clock_.stepWall(-3);
      continue;
    }
    AudioFrameParser parser;
    ASSERT_TRUE(parser.parse(frame_.payload(), frame_.timeStamp()));
    for (const AudioPacket& packet : parser.packets()) sound.push_back(packet.bytes);
    if (source.timeMs() < lastMs) ++steps;
    lastMs = source.timeMs();
  }
  std::vector<AudioPacket> expected = soundOf(url).packets;
  std::erase_if(expected, [](const AudioPacket& packet) { return packet.timeUs < 0; });
  EXPECT_EQ(1U, steps);
  ASSERT_EQ(expected.size(), sound.size());
  for (size_t i = 0; i < sound.size(); ++i) EXPECT_EQ(expected[i].bytes, sound[i]) << i;
}

}  // namespace

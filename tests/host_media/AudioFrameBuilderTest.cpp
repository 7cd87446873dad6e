#include "host/media/AudioFrameBuilder.h"

#include <gmock/gmock.h>

#include "host/media/AudioFrameParser.h"
#include "runtime/KTRVideoFrame.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t START_US = 1'699'948'800'000'000;  // 08:00
constexpr std::uint32_t START_STAMP = 8 * 3600 * 1000;

class AudioFrameBuilderTest : public testing::Test {
 protected:
  // Adds a packet of 20 ms, or of another length, at a time after the start.
  void add(std::int64_t us, std::int64_t durationUs = 20'000, unsigned int size = 3) {
    builder_.add({KTDataBlock(size), START_US + us, durationUs});
  }
  void addMany(std::int64_t us, int count) {
    for (int i = 0; i < count; ++i) add(us + i * 20'000);
  }
  // Packets in each complete frame; their stamps go to stamps_, their times to times_.
  std::vector<size_t> frames() {
    std::vector<size_t> counts;
    for (KTDataBlock frame; builder_.take(frame);) {
      KTRVideoFrame head;
      AudioFrameParser sound;
      EXPECT_TRUE(head.parse(frame));
      EXPECT_EQ(head.kind(), KTRFrameFormat::Audio);
      stamps_.push_back(head.timeStamp() - START_STAMP);
      EXPECT_TRUE(sound.parse(head.payload(), START_US / 1000 + stamps_.back()));
      for (const AudioPacket& each : sound.packets()) times_.push_back(each.timeUs - START_US);
      counts.push_back(sound.packets().size());
    }
    return counts;
  }

  AudioFrameBuilder builder_;
  std::vector<std::uint32_t> stamps_;
  std::vector<std::int64_t> times_;
};

TEST_F(AudioFrameBuilderTest, FrameHoldsAQuarterOfASecond) {
  addMany(0, 12);
  EXPECT_THAT(frames(), IsEmpty());
  add(240'000);
  EXPECT_THAT(frames(), ElementsAre(13));
  addMany(260'000, 13);
  EXPECT_THAT(frames(), ElementsAre(13));
  EXPECT_THAT(stamps_, ElementsAre(0, 260));
}

TEST_F(AudioFrameBuilderTest, TimesAreExactToTheMicrosecond) {
  add(1'234, 23'220);
  add(24'454, 23'220);
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(2));
  EXPECT_THAT(stamps_, ElementsAre(1));
  EXPECT_THAT(times_, ElementsAre(1'234, 24'454));
}

TEST_F(AudioFrameBuilderTest, PauseEndsAFrame) {
  addMany(0, 2);
  add(50'000);  // 10 ms late: still of the same frame
  add(80'001);
  EXPECT_THAT(frames(), ElementsAre(3));
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(1));
  EXPECT_THAT(stamps_, ElementsAre(0, 80));
}

TEST_F(AudioFrameBuilderTest, SoundThatWasTakenAlreadyIsDropped) {
  addMany(0, 10);
  add(150'000);
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(10));
}

TEST_F(AudioFrameBuilderTest, GoesBackWithAClockThatWasPutBack) {
  add(60'000'000);
  add(0);
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(1, 1));
  EXPECT_THAT(stamps_, ElementsAre(60'000, 0));
}

TEST_F(AudioFrameBuilderTest, GoesBackByLittleOnlyWhenItIsRestarted) {
  add(6'000'000);
  add(3'000'000);
  builder_.restart();
  add(3'000'000);
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(1, 1));
  EXPECT_THAT(stamps_, ElementsAre(6'000, 3'000));
}

TEST_F(AudioFrameBuilderTest, StampsBeginAgainAtMidnight) {
  add(16LL * 3600 * 1'000'000 + 7'000);
  builder_.flush();
  KTDataBlock frame;
  KTRVideoFrame head;
  ASSERT_TRUE(builder_.take(frame));
  ASSERT_TRUE(head.parse(frame));
  EXPECT_EQ(head.timeStamp(), 7U);
}

TEST_F(AudioFrameBuilderTest, PacketsThatCannotBeAreDropped) {
  add(0, 20'000, 0);
  add(0, 20'000, AudioFrameBuilder::MAX_PACKET_SIZE + 1);
  add(0, -1);
  add(0, 10'000'001);
  add(-START_US - 1);
  builder_.flush();
  EXPECT_THAT(frames(), IsEmpty());
  add(0, 20'000, AudioFrameBuilder::MAX_PACKET_SIZE);
  builder_.flush();
  EXPECT_THAT(frames(), ElementsAre(1));
}

TEST_F(AudioFrameBuilderTest, FrameOfManyBytesIsComplete) {
  for (int i = 0; i < 20; ++i) add(i * 1000, 1000, AudioFrameBuilder::MAX_PACKET_SIZE);
  EXPECT_THAT(frames(), ElementsAre(16));
}

TEST_F(AudioFrameBuilderTest, FlushOfNothingIsNoFrame) {
  builder_.flush();
  EXPECT_THAT(frames(), IsEmpty());
}

}  // namespace

#include "host/media/AudioTrack.h"

#include <gtest/gtest.h>

#include "host/media/LibAv.h"

namespace {

/** A track whose packets come from the test. */
class AudioTrackTest : public testing::Test {
 protected:
  AudioTrackTest() { prepareLibAv(); }
  ~AudioTrackTest() override { avcodec_parameters_free(&coded_); }

  void make(AVCodecID id, int channels = 1, int sampleRate = 8000) {
    coded_->codec_type = AVMEDIA_TYPE_AUDIO;
    coded_->codec_id = id;
    coded_->sample_rate = sampleRate;
    coded_->bits_per_coded_sample = 8;
    av_channel_layout_default(&coded_->ch_layout, channels);
    track_ = std::make_unique<AudioTrack>(*coded_);
  }
  void add(const std::vector<unsigned char>& bytes, std::int64_t us, std::int64_t durationUs = 0) {
    const LibAvOwner<AVPacket> packet(av_packet_alloc());
    ASSERT_EQ(av_new_packet(packet.get(), static_cast<int>(bytes.size())), 0);
    std::copy(bytes.begin(), bytes.end(), packet->data);
    track_->add(*packet, us, durationUs);
    EXPECT_EQ(packet->size, 0);
  }
  // What has its place once a picture has.
  std::vector<AudioPacket> placed() {
    (void)pictures_.place(0, 0);
    track_->place(pictures_);
    return track_->take();
  }

  AVCodecParameters* coded_ = avcodec_parameters_alloc();
  std::unique_ptr<AudioTrack> track_;
  MediaTimeline pictures_{40'000, 0};
};

TEST_F(AudioTrackTest, SoundWaitsForThePictureBesideIt) {
  make(AV_CODEC_ID_PCM_ALAW);
  add({1, 2, 3, 4}, 0);
  track_->place(pictures_);
  EXPECT_TRUE(track_->take().empty());
  ASSERT_EQ(placed().size(), 1U);
  EXPECT_TRUE(placed().empty());
}

TEST_F(AudioTrackTest, LengthFollowsFromTheBytesWhereTheSourceDoesNotSay) {
  make(AV_CODEC_ID_PCM_MULAW, 2);
  add(std::vector<unsigned char>(160), 0);
  add(std::vector<unsigned char>(160), 10'000, 7'000);
  const std::vector<AudioPacket> packets = placed();
  ASSERT_EQ(packets.size(), 2U);
  EXPECT_EQ(packets[0].durationUs, 10'000);
  EXPECT_EQ(packets[1].durationUs, 7'000);
}

TEST_F(AudioTrackTest, OpusSaysItselfHowLongItIs) {
  const auto lengthOf = [](unsigned char first, unsigned char second) {
    const unsigned char packet[] = {first, second};
    return AudioTrack::opusDurationUs({packet, 2});
  };
  EXPECT_EQ(lengthOf(0x00, 0), 10'000);              // SILK, 10 ms
  EXPECT_EQ(lengthOf(11 << 3, 0), 60'000);           // SILK, 60 ms
  EXPECT_EQ(lengthOf(13 << 3, 0), 20'000);           // hybrid, 20 ms
  EXPECT_EQ(lengthOf(28 << 3, 0), 2'500);            // CELT, 2.5 ms
  EXPECT_EQ(lengthOf(31 << 3, 0), 20'000);           // CELT, 20 ms
  EXPECT_EQ(lengthOf((31 << 3) + 1, 0), 40'000);     // two frames
  EXPECT_EQ(lengthOf((31 << 3) + 2, 0), 40'000);     // two of unequal size
  EXPECT_EQ(lengthOf((31 << 3) + 3, 0x83), 60'000);  // three, says the second byte
  const unsigned char alone = (31 << 3) + 3;
  EXPECT_EQ(AudioTrack::opusDurationUs({&alone, 1}), 0);
  EXPECT_EQ(AudioTrack::opusDurationUs({}), 0);
}

TEST_F(AudioTrackTest, OpusWithoutAHeaderGetsOne) {
  make(AV_CODEC_ID_OPUS, 2, 48000);
  ASSERT_NE(track_->header(), nullptr);
  const std::vector<unsigned char>& head = track_->header()->extraData;
  ASSERT_EQ(head.size(), 19U);
  EXPECT_EQ(std::string(head.begin(), head.begin() + 8), "OpusHead");
  EXPECT_EQ(head[9], 2);
}

TEST_F(AudioTrackTest, AdtsHeadsBecomeTheHeader) {
  make(AV_CODEC_ID_AAC, 2, 44100);
  EXPECT_EQ(track_->header(), nullptr);
  // ADTS: LC, 44.1 kHz, two channels, 7 bytes of head and 3 of sound.
  add({0xFF, 0xF1, 0x50, 0x80, 0x01, 0x5F, 0xFC, 7, 8, 9}, 0);
  ASSERT_NE(track_->header(), nullptr);
  EXPECT_EQ(track_->header()->extraData, (std::vector<unsigned char>{0x12, 0x10}));
  const std::vector<AudioPacket> packets = placed();
  ASSERT_EQ(packets.size(), 1U);
  const unsigned char sound[] = {7, 8, 9};
  EXPECT_EQ(packets[0].bytes, KTDataBlock(sound, 3));
}

TEST_F(AudioTrackTest, DamagedAdtsHeadIsPassedOver) {
  make(AV_CODEC_ID_AAC, 2, 44100);
  add({1, 2, 3, 4, 5, 6, 7, 8, 9}, 0);
  add({}, 0);
  EXPECT_EQ(track_->header(), nullptr);
  EXPECT_TRUE(placed().empty());
}

TEST_F(AudioTrackTest, OnlyWhatTheFormatKnowsIsStored) {
  make(AV_CODEC_ID_MP3, 2, 44100);
  EXPECT_TRUE(AudioTrack::canStore(*coded_));
  coded_->sample_rate = 0;
  EXPECT_FALSE(AudioTrack::canStore(*coded_));
  coded_->sample_rate = 44100;
  coded_->codec_id = AV_CODEC_ID_VORBIS;
  EXPECT_FALSE(AudioTrack::canStore(*coded_));
}

}  // namespace

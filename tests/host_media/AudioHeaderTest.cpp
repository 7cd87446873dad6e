#include "host/media/AudioHeader.h"

#include <gtest/gtest.h>

#include "host/media/AudioFormat.h"

namespace {

const AudioHeader OPUS{AudioCodec::Opus, 2, 48000, {1, 2, 3, 4}};

class AudioHeaderTest : public testing::Test {
 protected:
  // What take() makes of the bytes.
  std::optional<AudioHeader> take(const KTDataBlock& block) {
    bytes_ = block;
    rest_ = {bytes_.data, bytes_.size};
    return AudioHeader::take(rest_);
  }
  // The stored form of OPUS with one byte changed.
  static KTDataBlock changed(unsigned int offset, unsigned char value) {
    KTDataBlock block = OPUS.encode();
    block.writable()[offset] = value;
    return block;
  }

  KTDataBlock bytes_;
  MediaBytes rest_;
};

TEST_F(AudioHeaderTest, ComesBackAsItWas) {
  for (const AudioHeader& header : {OPUS, AudioHeader{AudioCodec::Aac, 6, 96000, {0x11, 0x90}},
                                    AudioHeader{AudioCodec::PcmMulaw, 1, 8000, {}},
                                    AudioHeader{AudioCodec::Mp3, 2, 44100, {}}}) {
    EXPECT_EQ(take(header.encode()), header);
    EXPECT_TRUE(rest_.empty());
  }
}

TEST_F(AudioHeaderTest, LeavesWhatFollows) {
  const unsigned char more[] = {7, 8};
  ASSERT_EQ(take(OPUS.encode() + KTDataBlock(more, 2)), OPUS);
  ASSERT_EQ(rest_.size(), 2U);
  EXPECT_EQ(rest_[0], 7);
}

TEST_F(AudioHeaderTest, CutOffIsNoHeaderWhereverItIsCut) {
  const KTDataBlock whole = OPUS.encode();
  for (unsigned int size = 0; size < whole.size; ++size) {
    EXPECT_FALSE(take(whole.copy(0, size)).has_value()) << size;
    EXPECT_EQ(rest_.size(), size);
  }
}

TEST_F(AudioHeaderTest, DamageIsNoHeader) {
  EXPECT_FALSE(take(changed(0, 0x49)));
  EXPECT_FALSE(take(changed(AudioFormat::CHANNELS_OFFSET, 0)));
  EXPECT_FALSE(take(changed(AudioFormat::RESERVED_OFFSET, 1)));
  EXPECT_FALSE(take(changed(AudioFormat::NAME_SIZE_OFFSET, 3)));    // "opu"
  EXPECT_FALSE(take(changed(AudioFormat::NAME_SIZE_OFFSET, 255)));  // past the end
  EXPECT_FALSE(take(changed(AudioFormat::SAMPLE_RATE_OFFSET + 3, 0x80)));
  EXPECT_FALSE(take(changed(AudioFormat::EXTRA_SIZE_OFFSET + 3, 0xFF)));
  EXPECT_FALSE(take(changed(AudioFormat::HEADER_HEAD_SIZE, 'O')));
  KTDataBlock silent = OPUS.encode();
  std::fill_n(silent.writable() + AudioFormat::SAMPLE_RATE_OFFSET, 4, 0);
  EXPECT_FALSE(take(silent));
}

TEST_F(AudioHeaderTest, WhatDoesNotFitIsNotEncoded) {
  AudioHeader large = OPUS;
  large.extraData.resize(AudioFormat::MAX_HEADER_SIZE - AudioFormat::HEADER_HEAD_SIZE - 4);
  EXPECT_EQ(large.encode().size, AudioFormat::MAX_HEADER_SIZE);
  EXPECT_EQ(take(large.encode()), large);
  large.extraData.push_back(0);
  EXPECT_EQ(large.encode().size, 0U);
  for (const AudioHeader& header :
       {AudioHeader{AudioCodec::Aac, 0, 8000, {}}, AudioHeader{AudioCodec::Aac, 256, 8000, {}},
        AudioHeader{AudioCodec::Aac, 1, 0, {}}}) {
    EXPECT_EQ(header.encode().size, 0U);
  }
}

}  // namespace

#include "host/media/AudioFrameParser.h"

#include <gtest/gtest.h>

#include "host/media/AudioFormat.h"
#include "runtime/LittleEndian.h"
#include "tests/support/FormatPage.h"

namespace {

constexpr unsigned int HEADER = 20;  // bytes of the example's header
constexpr unsigned int FIRST = HEADER + 1;
constexpr unsigned int SECOND = FIRST + AudioFormat::PACKET_HEAD_SIZE + 2;

class AudioFrameParserTest : public testing::Test {
 protected:
  bool parse(const KTDataBlock& payload) { return parser_.parse(payload, 1000); }
  // The example with one number changed.
  [[nodiscard]] KTDataBlock changed(unsigned int offset, std::uint32_t value) const {
    KTDataBlock block = example_;
    storeLittleEndian(block.writable() + offset, value);
    return block;
  }

  const KTDataBlock example_ = workedExample("audio.md");
  AudioFrameParser parser_;
};

TEST_F(AudioFrameParserTest, ReadsTheWorkedExample) {
  ASSERT_TRUE(parse(example_));
  EXPECT_EQ(parser_.header(), (AudioHeader{AudioCodec::PcmAlaw, 1, 8000, {}}));
  ASSERT_EQ(parser_.packets().size(), 2U);
  EXPECT_EQ(parser_.packets()[0].timeUs, 1'000'400);
  EXPECT_EQ(parser_.packets()[0].durationUs, 250);
  EXPECT_EQ(parser_.packets()[1].timeUs, 1'000'650);
  const unsigned char bytes[] = {0xD5, 0xD4};
  EXPECT_EQ(parser_.packets()[1].bytes, KTDataBlock(bytes, 2));
}

TEST_F(AudioFrameParserTest, WorkedExampleBeginsWithWhatTheHeaderWrites) {
  EXPECT_EQ(example_.copy(0, HEADER), (AudioHeader{AudioCodec::PcmAlaw, 1, 8000, {}}).encode());
}

TEST_F(AudioFrameParserTest, FrameWithoutAHeaderHasNone) {
  ASSERT_TRUE(parse(example_.copy(HEADER, example_.size)));
  EXPECT_FALSE(parser_.header().has_value());
  EXPECT_EQ(parser_.packets().size(), 2U);
}

TEST_F(AudioFrameParserTest, CutOffKeepsWholePackets) {
  for (unsigned int size = 0; size < example_.size; ++size) {
    EXPECT_EQ(parse(example_.copy(0, size)), size == SECOND) << size;
    EXPECT_EQ(parser_.packets().size(), size < SECOND ? 0U : 1U) << size;
    EXPECT_EQ(parser_.header().has_value(), size >= HEADER) << size;
  }
}

TEST_F(AudioFrameParserTest, DamageEndsThePayload) {
  const std::uint32_t most = AudioFormat::MAX_SPAN_US;
  EXPECT_TRUE(parse(changed(SECOND, most)));
  EXPECT_FALSE(parse(changed(SECOND, most + 1)));
  EXPECT_TRUE(parse(changed(SECOND + AudioFormat::DURATION_OFFSET, most)));
  EXPECT_FALSE(parse(changed(SECOND + AudioFormat::DURATION_OFFSET, most + 1)));
  for (const std::uint32_t size : {0U, 3U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(parse(changed(SECOND + AudioFormat::SIZE_OFFSET, size))) << size;
    EXPECT_EQ(parser_.packets().size(), 1U);
  }
}

TEST_F(AudioFrameParserTest, UnknownMarkIsDamage) {
  EXPECT_FALSE(parse(changed(HEADER, 0x51)));
  EXPECT_FALSE(parse(changed(0, 0x51)));
  EXPECT_TRUE(parser_.packets().empty());
}

TEST_F(AudioFrameParserTest, NextFrameForgetsTheOneBefore) {
  ASSERT_TRUE(parse(example_));
  EXPECT_FALSE(parse(KTDataBlock()));
  EXPECT_TRUE(parser_.packets().empty());
  EXPECT_FALSE(parser_.header().has_value());
}

}  // namespace

#include "host/media/AnnexBConverter.h"

#include <gmock/gmock.h>

#include <cstring>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"

namespace {

using Bytes = std::vector<unsigned char>;

// An MP4 header of H.264 with one SPS and one PPS whose units have lengths of `lengthSize` bytes.
Bytes headerWith(unsigned char lengthSize) {
  const unsigned char lengthByte = static_cast<unsigned char>(0xFC | (lengthSize - 1));
  return {1, 66, 0xC0, 30, lengthByte, 0xE1, 0, 4, 0x67, 66, 0xC0, 30, 1, 0, 2, 0x68, 0x80};
}

class AnnexBConverterTest : public testing::Test {
 protected:
  Bytes convert(const Bytes& packet) {
    av_packet_unref(packet_.get());
    EXPECT_EQ(av_new_packet(packet_.get(), static_cast<int>(packet.size())), 0);
    std::memcpy(packet_->data, packet.data(), packet.size());
    const AnnexBConverter::Converted converted = converter_.convert(*packet_);
    damaged_ = converted.damaged;
    return Bytes(converted.bytes.begin(), converted.bytes.end());
  }

  AnnexBConverter converter_{MediaCodec::H264};
  LibAvOwner<AVPacket> packet_{av_packet_alloc()};
  bool damaged_ = false;
};

TEST_F(AnnexBConverterTest, HeaderBecomesParameterSets) {
  converter_.setHeader(headerWith(4), "clip");
  EXPECT_EQ(converter_.headerSets(),
            (Bytes{0, 0, 0, 1, 0x67, 66, 0xC0, 30, 0, 0, 0, 1, 0x68, 0x80}));
}

TEST_F(AnnexBConverterTest, AnnexBPassesUnchanged) {
  const Bytes sets{0, 0, 0, 1, 0x67, 66, 0xC0, 30};
  converter_.setHeader(sets, "clip");
  EXPECT_EQ(converter_.headerSets(), sets);
  EXPECT_EQ(convert({0, 0, 1, 0x65, 1}), (Bytes{0, 0, 1, 0x65, 1}));
}

TEST_F(AnnexBConverterTest, LengthsOfEverySizeBecomeStartCodes) {
  converter_.setHeader(headerWith(4), "clip");
  EXPECT_EQ(convert({0, 0, 0, 2, 0x65, 1, 0, 0, 0, 1, 6}),
            (Bytes{0, 0, 0, 1, 0x65, 1, 0, 0, 0, 1, 6}));
  converter_.setHeader(headerWith(3), "clip");
  EXPECT_EQ(convert({0, 0, 2, 0x65, 1, 0, 0, 1, 6}), (Bytes{0, 0, 1, 0x65, 1, 0, 0, 1, 6}));
  converter_.setHeader(headerWith(2), "clip");
  EXPECT_EQ(convert({0, 2, 0x65, 1, 0, 1, 6}), (Bytes{0, 0, 0, 1, 0x65, 1, 0, 0, 0, 1, 6}));
  converter_.setHeader(headerWith(1), "clip");
  EXPECT_EQ(convert({2, 0x65, 1}), (Bytes{0, 0, 0, 1, 0x65, 1}));
  EXPECT_FALSE(damaged_);
}

TEST_F(AnnexBConverterTest, LengthThatRunsPastThePacketEndsIt) {
  for (const unsigned char lengthSize : {4, 2}) {
    converter_.setHeader(headerWith(lengthSize), "clip");
    Bytes packet(lengthSize, 0);
    packet.back() = 1;
    packet.push_back(0x65);
    packet.insert(packet.end(), lengthSize, 9);
    packet.push_back(0x65);
    EXPECT_EQ(convert(packet), (Bytes{0, 0, 0, 1, 0x65}));
    EXPECT_TRUE(damaged_);
  }
}

TEST_F(AnnexBConverterTest, BrokenHeaderIsAnError) {
  EXPECT_THAT(
      [&] {
        converter_.setHeader(Bytes{1, 66, 0}, "a.mp4");
      },
      testing::ThrowsMessage<MediaError>(
          testing::HasSubstr("a.mp4 has a broken video header: repair")));
}

}  // namespace

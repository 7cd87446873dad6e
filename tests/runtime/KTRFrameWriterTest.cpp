#include "runtime/KTRFrameWriter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/KTRVideoFrame.h"
#include "runtime/KTString.h"

using Format = KTRFrameFormat;

namespace {

class KTRFrameWriterTest : public testing::Test {
 protected:
  static KTRFrameWriter::Piece piece(const std::string& media) {
    return {reinterpret_cast<const unsigned char*>(media.data()),
            static_cast<unsigned int>(media.size())};
  }
  static std::vector<unsigned int> bytes(const KTDataBlock& b) {
    return std::vector<unsigned int>(b.data, b.data + b.size);
  }
};

using Bytes = std::vector<unsigned int>;

TEST_F(KTRFrameWriterTest, WritesKindStampLengthAndPayload) {
  EXPECT_EQ(bytes(KTRFrameWriter::build(Format::Key, 0x04030201, {piece("AB")})),
            (Bytes{1, 0x01, 0x02, 0x03, 0x04, 2, 0, 0, 0, 'A', 'B'}));
}

TEST_F(KTRFrameWriterTest, KindsHaveFixedNumbers) {
  for (const unsigned char kind : {0, 1, 2, 3, 4}) {
    const auto frame = KTRFrameWriter::build(static_cast<Format::Kind>(kind), 0, {});
    EXPECT_EQ(frame.data[0], kind);
  }
  static_assert(Format::Empty == 0 && Format::Key == 1 && Format::Delta == 2);
  static_assert(Format::Jpeg == 3 && Format::Audio == 4);
}

TEST_F(KTRFrameWriterTest, WritesACompositionOffsetBeforeTheMedia) {
  EXPECT_EQ(bytes(KTRFrameWriter::build(Format::Delta, 5, {piece("A")}, -2)),
            (Bytes{0x82, 5, 0, 0, 0, 5, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 'A'}));
}

TEST_F(KTRFrameWriterTest, AnOffsetOfZeroIsNotWritten) {
  EXPECT_EQ(KTRFrameWriter::build(Format::Delta, 5, {piece("A")}, 0).size, 10U);
}

TEST_F(KTRFrameWriterTest, JoinsPiecesInOrder) {
  const auto frame = KTRFrameWriter::build(
      Format::Key, 0, {piece("sps"), piece(""), piece("pps"), {nullptr, 0}, piece("idr")});
  KTRVideoFrame parser;
  ASSERT_TRUE(parser.parse(frame));
  EXPECT_TRUE(parser.payload() == KTString("spsppsidr").dataBlock());
}

TEST_F(KTRFrameWriterTest, AnEmptyFrameIsItsHead) {
  EXPECT_EQ(bytes(KTRFrameWriter::build(Format::Empty, 40, {})),
            (Bytes{0, 40, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(KTRFrameWriterTest, TheLargestFrameIsBuiltAndOneByteMoreIsNot) {
  const std::string largest(2097152 - 9, 'x');
  EXPECT_EQ(KTRFrameWriter::build(Format::Key, 0, {piece(largest)}).size, 2097152U);
  EXPECT_EQ(KTRFrameWriter::build(Format::Key, 0, {piece(largest), piece("x")}).size, 0U);
  EXPECT_EQ(KTRFrameWriter::build(Format::Key, 0, {piece(largest)}, 1).size, 0U);
}

TEST_F(KTRFrameWriterTest, PiecesWhoseSumPasses32BitsAreRefused) {
  const unsigned char byte = 0;  // never read: the sum is checked first
  const KTRFrameWriter::Piece huge{&byte, 0x80000000U};
  EXPECT_EQ(KTRFrameWriter::build(Format::Key, 0, {huge, huge}).size, 0U);
}

}  // namespace

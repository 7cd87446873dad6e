#include "runtime/KTRVideoFrame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "runtime/KTRFrameWriter.h"
#include "runtime/LittleEndian.h"
#include "tests/support/LogCapture.h"

using Format = KTRFrameFormat;

namespace {

class KTRVideoFrameTest : public testing::Test {
 protected:
  static KTDataBlock frame(Format::Kind kind, std::uint32_t stampMs, const std::string& media,
                           std::int32_t compositionMs = 0) {
    return KTRFrameWriter::build(kind, stampMs,
                                 {{reinterpret_cast<const unsigned char*>(media.data()),
                                   static_cast<unsigned int>(media.size())}},
                                 compositionMs);
  }

  // A frame head as a hostile host might write it, with media bytes behind it.
  static KTDataBlock raw(unsigned char first, std::uint32_t length, unsigned int mediaSize) {
    KTDataBlock b(Format::HEAD_SIZE + mediaSize);
    b.writable()[0] = first;
    storeLittleEndian(b.writable() + Format::LENGTH_OFFSET, length);
    return b;
  }

  std::string media() const {
    const KTDataBlock bytes = parser_.payload();
    return std::string(reinterpret_cast<const char*>(bytes.data), bytes.size);
  }

  void expectOnNothing() const {
    EXPECT_EQ(parser_.data().size, 0U);
    EXPECT_EQ(parser_.payload().size, 0U);
    EXPECT_EQ(parser_.timeStamp(), 0U);
    EXPECT_EQ(parser_.compositionOffset(), 0);
    EXPECT_EQ(parser_.contentIndicator(), 0);
    EXPECT_FALSE(parser_.isKFrame());
    EXPECT_FALSE(parser_.isJpeg());
  }

  void expectRefused(const KTDataBlock& message, const std::string& reason) {
    log_.clear();
    EXPECT_FALSE(parser_.parse(message)) << reason;
    expectOnNothing();
    EXPECT_TRUE(log_.has(64, "[ KTRVideoFrame ] " + std::to_string(message.size) +
                                 " bytes dropped at byte 0: " + reason))
        << reason;
  }

  LogCapture log_;
  KTRVideoFrame parser_;
};

TEST_F(KTRVideoFrameTest, StandsOnNothingFromTheStart) {
  expectOnNothing();
  EXPECT_EQ(parser_.unparsedSize(), 0U);
  EXPECT_FALSE(parser_.next());
}

TEST_F(KTRVideoFrameTest, AnEmptyMessageHoldsNoFrame) {
  EXPECT_FALSE(parser_.parse(KTDataBlock(0)));
  expectOnNothing();
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(KTRVideoFrameTest, ParseStandsOnTheFirstFrame) {
  const KTDataBlock message = frame(Format::Key, 86399999, "media");
  ASSERT_TRUE(parser_.parse(message));
  EXPECT_TRUE(parser_.data() == message);
  EXPECT_EQ(parser_.timeStamp(), 86399999U);
  EXPECT_EQ(media(), "media");
  EXPECT_EQ(parser_.contentIndicator(), 1);
  EXPECT_FALSE(parser_.next());
  expectOnNothing();
}

TEST_F(KTRVideoFrameTest, ATimeStampHas32Bits) {
  ASSERT_TRUE(parser_.parse(frame(Format::Key, 0xFEDCBA98, "m")));
  EXPECT_EQ(parser_.timeStamp(), 0xFEDCBA98U);
}

TEST_F(KTRVideoFrameTest, KindsTellKeyFramesAndPictures) {
  struct {
    Format::Kind kind;
    bool key;
    bool jpeg;
  } const kinds[] = {{Format::Key, true, false},
                     {Format::Delta, false, false},
                     {Format::Jpeg, false, true},
                     {Format::Audio, false, false}};
  for (const auto& expected : kinds) {
    ASSERT_TRUE(parser_.parse(frame(expected.kind, 1, "m")));
    EXPECT_EQ(parser_.kind(), expected.kind);
    EXPECT_EQ(parser_.isKFrame(), expected.key);
    EXPECT_EQ(parser_.isJpeg(), expected.jpeg);
    EXPECT_EQ(parser_.contentIndicator(), 1);
  }
}

TEST_F(KTRVideoFrameTest, AnEmptyFrameIsAFrameWithoutContent) {
  ASSERT_TRUE(parser_.parse(frame(Format::Empty, 40, "")));
  EXPECT_EQ(parser_.data().size, Format::HEAD_SIZE);
  EXPECT_EQ(parser_.contentIndicator(), 0);
  EXPECT_EQ(parser_.timeStamp(), 40U);
  EXPECT_FALSE(parser_.isKFrame());
}

TEST_F(KTRVideoFrameTest, WalksEveryFrameOfAMessage) {
  const KTDataBlock first = frame(Format::Key, 0, "key");
  const KTDataBlock second = frame(Format::Empty, 40, "");
  const KTDataBlock third = frame(Format::Delta, 80, "delta", 40);
  ASSERT_TRUE(parser_.parse(first + second + third));
  EXPECT_TRUE(parser_.data() == first);
  EXPECT_EQ(parser_.unparsedSize(), second.size + third.size);
  ASSERT_TRUE(parser_.next());
  EXPECT_TRUE(parser_.data() == second);
  ASSERT_TRUE(parser_.next());
  EXPECT_TRUE(parser_.data() == third);
  EXPECT_EQ(parser_.unparsedSize(), 0U);
  EXPECT_FALSE(parser_.next());
  EXPECT_FALSE(parser_.next());
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(KTRVideoFrameTest, CompositionOffsetsKeepTheirSign) {
  for (const std::int32_t offset : {1, -1, 40, -40, INT32_MAX, INT32_MIN}) {
    ASSERT_TRUE(parser_.parse(frame(Format::Delta, 1000, "media", offset)));
    EXPECT_EQ(parser_.compositionOffset(), offset);
    EXPECT_EQ(media(), "media");
    EXPECT_EQ(parser_.kind(), Format::Delta);
  }
}

TEST_F(KTRVideoFrameTest, WithoutACompositionOffsetItIsZero) {
  ASSERT_TRUE(parser_.parse(frame(Format::Key, 1, "\x05\x05\x05\x05\x05")));
  EXPECT_EQ(parser_.compositionOffset(), 0);
}

TEST_F(KTRVideoFrameTest, AKeyFrameMayCarryACompositionOffset) {
  ASSERT_TRUE(parser_.parse(frame(Format::Key, 1, "m", 80)));
  EXPECT_TRUE(parser_.isKFrame());
}

TEST_F(KTRVideoFrameTest, EveryTruncationIsRefusedAndKeptAsUnparsed) {
  const KTDataBlock whole = frame(Format::Key, 1, "media bytes", -40);
  for (unsigned int n = 1; n < whole.size; ++n) {
    expectRefused(whole.copy(0, n), n < Format::HEAD_SIZE ? "the head is cut short"
                                                          : "the length runs past the message");
    EXPECT_EQ(parser_.unparsedSize(), n);
  }
}

TEST_F(KTRVideoFrameTest, EveryTruncationOfTheSecondFrameKeepsTheFirst) {
  const KTDataBlock first = frame(Format::Key, 1, "first");
  const KTDataBlock second = frame(Format::Delta, 2, "second", 40);
  for (unsigned int n = 1; n < second.size; ++n) {
    ASSERT_TRUE(parser_.parse(first + second.copy(0, n)));
    EXPECT_TRUE(parser_.data() == first);
    EXPECT_FALSE(parser_.next());
    expectOnNothing();
    EXPECT_EQ(parser_.unparsedSize(), n);
  }
}

TEST_F(KTRVideoFrameTest, ARefusedRestIsReportedOnce) {
  const KTDataBlock cut = frame(Format::Key, 1, "media").copy(0, 10);
  EXPECT_FALSE(parser_.parse(cut));
  EXPECT_FALSE(parser_.next());
  EXPECT_FALSE(parser_.next());
  EXPECT_EQ(log_.lines().size(), 1U);
}

TEST_F(KTRVideoFrameTest, ARefusedRestDoesNotReachTheNextMessage) {
  EXPECT_FALSE(parser_.parse(frame(Format::Key, 1, "media").copy(0, 10)));
  const KTDataBlock sound = frame(Format::Key, 2, "sound");
  ASSERT_TRUE(parser_.parse(sound));
  EXPECT_TRUE(parser_.data() == sound);
  EXPECT_EQ(parser_.unparsedSize(), 0U);
}

TEST_F(KTRVideoFrameTest, ClearForgetsTheMessage) {
  EXPECT_FALSE(parser_.parse(frame(Format::Key, 1, "media").copy(0, 10)));
  parser_.clear();
  EXPECT_EQ(parser_.unparsedSize(), 0U);
  ASSERT_TRUE(parser_.parse(frame(Format::Key, 1, "a") + frame(Format::Key, 2, "b")));
  parser_.clear();
  expectOnNothing();
  EXPECT_FALSE(parser_.next());
}

TEST_F(KTRVideoFrameTest, UnknownKindsAreRefused) {
  for (unsigned int first = 0; first < 256; ++first) {
    const bool known = (first & 0x7FU) <= Format::Audio;
    if (!known) expectRefused(raw(static_cast<unsigned char>(first), 8, 8), "unknown kind");
  }
}

TEST_F(KTRVideoFrameTest, TheLargestFrameIsTakenAndOneByteMoreIsNot) {
  constexpr unsigned int largest = Format::MAX_FRAME_SIZE - Format::HEAD_SIZE;
  static_assert(Format::MAX_FRAME_SIZE == 2097152);
  ASSERT_TRUE(parser_.parse(raw(Format::Key, largest, largest)));
  EXPECT_EQ(parser_.data().size, 2097152U);
  expectRefused(raw(Format::Key, largest + 1, largest + 1), "larger than a stored frame");
}

TEST_F(KTRVideoFrameTest, HugeLengthsAreRefused) {
  for (const std::uint32_t length : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF7U, 0xFFFFFFFFU}) {
    expectRefused(raw(Format::Key, length, 16), "larger than a stored frame");
  }
}

TEST_F(KTRVideoFrameTest, ALengthPastTheMessageIsRefused) {
  expectRefused(raw(Format::Delta, 17, 16), "the length runs past the message");
}

TEST_F(KTRVideoFrameTest, AFrameWithoutMediaBytesIsRefused) {
  expectRefused(raw(Format::Key, 0, 0), "no media bytes");
  for (unsigned int size = 0; size <= Format::COMPOSITION_SIZE; ++size) {
    expectRefused(raw(Format::Key | Format::COMPOSITION_FLAG, size, size), "no media bytes");
  }
}

TEST_F(KTRVideoFrameTest, AnEmptyFrameWithContentIsRefused) {
  expectRefused(raw(Format::Empty, 1, 1), "an empty frame with content");
  expectRefused(raw(Format::Empty | Format::COMPOSITION_FLAG, 0, 0), "an empty frame with content");
}

TEST_F(KTRVideoFrameTest, NoByteOfAHeadCanHarmTheParser) {
  const KTDataBlock sound = frame(Format::Key, 7, "0123456789", 3);
  for (unsigned int at = 0; at < Format::HEAD_SIZE; ++at) {
    for (unsigned int value = 0; value < 256; ++value) {
      KTDataBlock message(sound);
      message.writable()[at] = static_cast<unsigned char>(value);
      if (parser_.parse(message)) {
        EXPECT_LE(parser_.data().size, message.size);
      }
    }
  }
}

TEST_F(KTRVideoFrameTest, FramesOutliveTheParserAndTheMessage) {
  KTDataBlock kept;
  {
    KTRVideoFrame parser;
    ASSERT_TRUE(parser.parse(frame(Format::Key, 1, "a") + frame(Format::Delta, 2, "b")));
    ASSERT_TRUE(parser.next());
    kept = parser.data();
  }
  EXPECT_TRUE(kept == frame(Format::Delta, 2, "b"));
}

}  // namespace

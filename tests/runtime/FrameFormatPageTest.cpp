#include <gtest/gtest.h>

#include <vector>

#include "runtime/KTRFrameWriter.h"
#include "runtime/KTRVideoFrame.h"
#include "tests/support/FormatPage.h"
#include "tests/support/LogCapture.h"

using Format = KTRFrameFormat;

namespace {

class FrameFormatPageTest : public testing::Test {
 protected:
  static KTDataBlock frame(Format::Kind kind, std::uint32_t stampMs,
                           const std::vector<unsigned char>& media,
                           std::int32_t compositionMs = 0) {
    const auto size = static_cast<unsigned int>(media.size());
    return KTRFrameWriter::build(kind, stampMs, {{media.data(), size}}, compositionMs);
  }

  const KTDataBlock example_ = workedExample("frame.md");
};

TEST_F(FrameFormatPageTest, TheExampleIsWhatTheWriterWrites) {
  EXPECT_EQ(example_.size, 39U);
  EXPECT_TRUE(example_ == frame(Format::Key, 123456, {0, 0, 0, 1, 0x65}) +
                              frame(Format::Delta, 123496, {0, 1, 0x41}, -40) +
                              frame(Format::Empty, 123536, {}));
}

TEST_F(FrameFormatPageTest, TheExampleIsWhatTheParserReads) {
  const LogCapture log;
  KTRVideoFrame parser;
  ASSERT_TRUE(parser.parse(example_));
  EXPECT_TRUE(parser.isKFrame());
  EXPECT_EQ(parser.timeStamp(), 123456U);
  EXPECT_EQ(parser.payload().size, 5U);
  ASSERT_TRUE(parser.next());
  EXPECT_EQ(parser.kind(), Format::Delta);
  EXPECT_EQ(parser.compositionOffset(), -40);
  EXPECT_EQ(parser.payload().size, 3U);
  ASSERT_TRUE(parser.next());
  EXPECT_EQ(parser.contentIndicator(), 0);
  EXPECT_EQ(parser.timeStamp(), 123536U);
  EXPECT_FALSE(parser.next());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(FrameFormatPageTest, TheLimitsAreThoseOfThePage) {
  static_assert(Format::MAX_FRAME_SIZE - Format::HEAD_SIZE == 2097143);
  static_assert(Format::HEAD_SIZE == 9 && Format::COMPOSITION_SIZE == 4);
}

}  // namespace

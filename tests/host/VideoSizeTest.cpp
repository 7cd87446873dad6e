#include "host/input/VideoSize.h"

#include "tests/host/UsageErrors.h"

TEST(VideoSizeTest, TakesDigitsByDigits) {
  const VideoSize size = VideoSize::parse("1280x720");
  EXPECT_EQ(1280U, size.width);
  EXPECT_EQ(720U, size.height);
  EXPECT_EQ("1280x720", size.text());
}

TEST(VideoSizeTest, RefusesEverythingElse) {
  for (const char* text : {"", "x", "1280", "1280x", "x720", "1280X720", "1280x720x1", "-1x2",
                           "0x720", "1280x0", "65536x1", "1280 x 720", "1280x720'", "%x%"}) {
    EXPECT_THAT(usageErrorOf([&] { return VideoSize::parse(text); }),
                testing::HasSubstr("WIDTHxHEIGHT"))
        << text;
  }
}

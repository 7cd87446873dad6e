#include "host/input/EventText.h"

#include <fstream>

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

TEST(EventTextTest, TakesNumbers) {
  EXPECT_EQ(0U, EventText::number("0", "a sensor"));
  EXPECT_EQ(4294967295U, EventText::number("4294967295", "a sensor"));
  EXPECT_EQ(2147483647U, EventText::type("2147483647"));
  for (const char* text : {"", "-1", "4294967296", "1x", "0x1"}) {
    EXPECT_THAT(usageErrorOf([&] { return EventText::number(text, "a sensor"); }),
                testing::HasSubstr("is not a sensor: give a number from 0 to 4294967295"));
  }
  EXPECT_THAT(usageErrorOf([] { return EventText::type("2147483648"); }),
              testing::HasSubstr("from 0 to 2147483647"));
}

TEST(EventTextTest, TakesUpTo255BytesOfText) {
  EXPECT_EQ("", EventText::data(""));
  EXPECT_EQ("front door", EventText::data("front door"));
  EXPECT_EQ(255U, EventText::data(std::string(255, 'x')).size());
  EXPECT_THAT(usageErrorOf([] { return EventText::data(std::string(256, 'x')); }),
              testing::HasSubstr("at most 255 bytes: events are played back with lengths of 8"));
}

TEST(EventTextTest, TakesTheBytesOfAFile) {
  const TempDir dir;
  const std::string path = dir.path() + "/data";
  const std::string bytes("\0\n@'\xFF", 5);
  std::ofstream(path, std::ios::binary) << bytes;
  EXPECT_EQ(bytes, EventText::data("@" + path));
  std::ofstream(path) << std::string(255, 'x');
  EXPECT_EQ(255U, EventText::data("@" + path).size());
  std::ofstream(path) << "";
  EXPECT_EQ("", EventText::data("@" + path));
  std::ofstream(path) << std::string(256, 'x');
  EXPECT_THAT(usageErrorOf([&] { return EventText::data("@" + path); }),
              testing::HasSubstr("too long"));
}

TEST(EventTextTest, SaysWhenAFileCannotBeRead) {
  for (const char* text : {"@", "@/nowhere/at/all", "@/tmp"}) {
    EXPECT_THAT(usageErrorOf([&] { return EventText::data(text); }),
                testing::HasSubstr("for the data of the event: name a file"))
        << text;
  }
}

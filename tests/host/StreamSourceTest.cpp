#include "host/input/StreamSource.h"

#include "tests/host/UsageErrors.h"

using testing::HasSubstr;
using Texts = std::vector<std::string>;

TEST(StreamSourceTest, SplitsAtTheFirstEqualsSign) {
  const StreamSource source = StreamSource::parse("12=rtsp://c/live?a=b");
  EXPECT_EQ(12, source.stream);
  EXPECT_EQ("rtsp://c/live?a=b", source.url);
}

TEST(StreamSourceTest, TakesAnyUrl) {
  EXPECT_EQ("=", StreamSource::parse("1==").url);
}

TEST(StreamSourceTest, RefusesWhatIsNoStream) {
  for (const char* text : {"", "=", "1=", "=url", "url", "rtsp://c/live"}) {
    EXPECT_THAT(usageErrorOf([&] { return StreamSource::parse(text); }), HasSubstr("N=URL"))
        << text;
  }
}

TEST(StreamSourceTest, RefusesANumberThatIsNone) {
  EXPECT_THAT(usageErrorOf([] { return StreamSource::parse("256=x"); }), HasSubstr("'256'"));
  EXPECT_THAT(usageErrorOf([] { return StreamSource::parse("a=x"); }), HasSubstr("'a'"));
}

TEST(StreamSourceTest, TakesEachNumberOnce) {
  EXPECT_EQ(2U, StreamSource::parseAll({"1=a", "2=a"}).size());
  EXPECT_THAT(usageErrorOf([] {
                return StreamSource::parseAll({"1=a", "01=b"});
              }),
              HasSubstr("stream 1 is given twice"));
}

TEST(StreamSourceTest, WantsAtLeastOne) {
  EXPECT_THAT(usageErrorOf([] { return StreamSource::parseAll({}); }), HasSubstr("no stream"));
}

TEST(StreamSourceTest, KeepsTheUpperHalfForSound) {
  EXPECT_EQ(200, StreamSource::parseAll({"200=a"}, StreamSource::Video).front().stream);
  EXPECT_EQ(127, StreamSource::parseAll({"127=a"}, StreamSource::VideoAndAudio).front().stream);
  EXPECT_THAT(
      usageErrorOf([] { return StreamSource::parseAll({"129=a"}, StreamSource::VideoAndAudio); }),
      HasSubstr("kept for the sound of stream 1: give a number from 0 to 127, or --no-audio"));
}

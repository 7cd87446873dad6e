#include "host/HostLogSink.h"

#include <sstream>

#include "tests/host/UtcZone.h"
#include "tests/support/ManualClock.h"

namespace {

class HostLogSinkTest : public UtcZone {
 protected:
  /** What becomes of one line. */
  static std::string printed(bool verbose, int priority, const char* line) {
    std::ostringstream out;
    HostLogSink(out, verbose).write(priority, line);
    return out.str();
  }

  ManualClock clock_{1767348000};  // 10:00:00 UTC
};

constexpr const char* ADVICE = "VERY BAD! DO Resize of the WriteBuffer to 40";

}  // namespace

TEST_F(HostLogSinkTest, ShowsWarningsAndErrorsWithTheTime) {
  EXPECT_EQ("ktr: 10:00:00 warning: slow\n", printed(false, 64, "slow"));
  EXPECT_EQ("ktr: 10:00:00 error: broken\n", printed(false, 128, "broken"));
}

TEST_F(HostLogSinkTest, ShowsInformationOnlyWhenAsked) {
  EXPECT_EQ("", printed(false, 16, "news"));
  EXPECT_EQ("ktr: 10:00:00 info: news\n", printed(true, 16, "news"));
}

TEST_F(HostLogSinkTest, ShowsTheUsualAdviceOnlyWhenAsked) {
  EXPECT_EQ("", printed(false, 128, ADVICE));
  EXPECT_EQ("", printed(false, 64, ADVICE));
  EXPECT_EQ(std::string("ktr: 10:00:00 error: ") + ADVICE + "\n", printed(true, 128, ADVICE));
}

TEST_F(HostLogSinkTest, PutsEveryMessageOnOneLine) {
  EXPECT_EQ("ktr: 10:00:00 error: a b c\n", printed(false, 128, "a\nb\rc"));
}

TEST_F(HostLogSinkTest, ClearsAProgressLineFirst) {
  std::ostringstream out;
  HostLogSink sink(out, false);
  sink.setLinePrefix("\r\033[K");
  sink.write(128, "broken");
  EXPECT_EQ("\r\033[Kktr: 10:00:00 error: broken\n", out.str());
}

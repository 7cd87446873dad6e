#include "host/view/Timeline.h"

#include <sstream>

#include "tests/host/UtcZone.h"

namespace {

constexpr long TEN = 1767348000;    // 2026-01-02 10:00:00 UTC
constexpr unsigned int WIDTH = 72;  // 60 columns of bar

class TimelineTest : public UtcZone {
 protected:
  [[nodiscard]] std::string printed() const {
    std::ostringstream out;
    timeline_.print(out, WIDTH);
    return out.str();
  }

  /** The bar of the only stream. */
  [[nodiscard]] std::string bar() const {
    const std::string text = printed();
    const size_t begin = text.find("\nstream") + 13;
    return text.substr(begin, text.find('\n', begin) - begin);
  }

  Timeline timeline_;
};

}  // namespace

TEST_F(TimelineTest, ShowsARowPerStreamOverOneAxis) {
  timeline_.add(1, TEN, TEN + 3600);
  timeline_.add(128, TEN + 1800, TEN + 2400);
  EXPECT_EQ(
      "2026-01-02 10:00:00 to 2026-01-02 11:00:00, local time (UTC+0000)\n"
      "            10:00     10:10     10:20     10:30     10:40     10:50\n"
      "            |---------|---------|---------|---------|---------|---------\n"
      "stream   1  ############################################################\n"
      "stream 128  ..............................##########....................\n"
      "            # recorded   + in part   . nothing\n",
      printed());
}

TEST_F(TimelineTest, ShowsAGapSmallerThanAColumn) {
  timeline_.add(1, TEN, TEN + 1810);
  timeline_.add(1, TEN + 1815, TEN + 3600);
  EXPECT_EQ(std::string(30, '#') + "+" + std::string(29, '#'), bar());
}

TEST_F(TimelineTest, ShowsNoGapWhereSessionsFollowOneAnother) {
  timeline_.add(1, TEN, TEN + 1799);
  timeline_.add(1, TEN + 1801, TEN + 3600);
  EXPECT_EQ(std::string(60, '#'), bar());
}

TEST_F(TimelineTest, CountsOverlappingSessionsOnce) {
  timeline_.add(1, TEN, TEN + 3600);
  timeline_.add(1, TEN + 60, TEN + 120);
  EXPECT_EQ(std::string(60, '#'), bar());
}

TEST_F(TimelineTest, ShowsAnInstant) {
  timeline_.add(1, TEN, TEN);
  timeline_.add(1, TEN + 3600, TEN + 3600);
  EXPECT_EQ("+" + std::string(58, '.') + "+", bar());
}

TEST_F(TimelineTest, PrintsNothingOfNothing) {
  EXPECT_EQ("", printed());
}

TEST_F(TimelineTest, NeverPassesTheWidth) {
  timeline_.add(1, TEN, TEN + 12345);
  std::istringstream lines(printed());
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), WIDTH) << line;
}

TEST_F(TimelineTest, MarksEvents) {
  timeline_.add(1, TEN, TEN + 3600);
  timeline_.addEvent(TEN);
  timeline_.addEvent(TEN + 1800);
  timeline_.addEvent(TEN + 1805);
  timeline_.addEvent(TEN + 3600);
  EXPECT_NE(std::string::npos,
            printed().find("\nevents      !" + std::string(29, ' ') + "!" + std::string(28, ' ') +
                           "!\n            # recorded   + in part   . nothing   ! event\n"));
}

TEST_F(TimelineTest, LeavesEventsOutsideTheRecordingsOut) {
  timeline_.add(1, TEN, TEN + 3600);
  const std::string without = printed();
  timeline_.addEvent(TEN - 1);
  timeline_.addEvent(TEN + 3601);
  EXPECT_EQ(without, printed());
}

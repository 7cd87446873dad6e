#include "host/view/EventReport.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/UtcZone.h"

using nlohmann::json;

namespace {

class EventReportTest : public UtcZone {
 protected:
  static constexpr unsigned int TEN = 1767348000;  // 2026-01-02 10:00:00 UTC

  const std::vector<StoredEvent> events_{{3, TEN, 17, 1, "front door"}, {12, TEN + 60, 0, 5, ""}};
  std::ostringstream out_;
  EventReport report_{out_};
};

}  // namespace

TEST_F(EventReportTest, PrintsATable) {
  report_.printTable(events_);
  EXPECT_EQ(
      "TIME                 SENSOR  TYPE  ID  DATA\n"
      "2026-01-02 10:00:00       3     1  17  front door\n"
      "2026-01-02 10:01:00      12     5   0\n",
      out_.str());
}

TEST_F(EventReportTest, HasALineForNothing) {
  report_.printTable({});
  EXPECT_EQ("There are no such events.\n", out_.str());
}

TEST_F(EventReportTest, PrintsALineAnEvent) {
  for (const StoredEvent& event : events_) report_.printLine(event);
  EXPECT_EQ(
      "2026-01-02 10:00:00  sensor 3  type 1  id 17  front door\n"
      "2026-01-02 10:01:00  sensor 12  type 5  id 0\n",
      out_.str());
}

TEST_F(EventReportTest, SendsNoControlCharacterToATerminal) {
  EXPECT_EQ("0x1b5b324a", EventReport::dataText("\x1b[2J"));
  EXPECT_EQ("0xff", EventReport::dataText("\xff"));
  EXPECT_EQ("a ~", EventReport::dataText("a ~"));
}

TEST_F(EventReportTest, PrintsAllAsJson) {
  report_.printJson("cam", events_);
  const json report = json::parse(out_.str());
  EXPECT_EQ("cam", report["recorder"]);
  const json& event = report["events"][0];
  EXPECT_EQ(3, event["sensor"]);
  EXPECT_EQ(TEN, event["time"]);
  EXPECT_EQ("2026-01-02T10:00:00+0000", event["timeText"]);
  EXPECT_EQ(1, event["type"]);
  EXPECT_EQ(17, event["id"]);
  EXPECT_EQ("front door", event["data"]);
  EXPECT_EQ("66726f6e7420646f6f72", event["dataHex"]);
  EXPECT_EQ(2U, report["events"].size());
}

TEST_F(EventReportTest, PrintsAJsonObjectALine) {
  report_.printJsonLine({1, TEN, 0, 2, std::string("\0\n\xff", 3)});
  const std::string line = out_.str();
  EXPECT_EQ(line.size() - 1, line.find('\n'));
  EXPECT_EQ("000aff", json::parse(line)["dataHex"]);
}

#include "host/view/SessionReport.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/host/UtcZone.h"

using nlohmann::json;

namespace {

constexpr long TEN = 1767348000;  // 2026-01-02 10:00:00 UTC

class SessionReportTest : public UtcZone {
 protected:
  static RecordedSession video(unsigned int id, unsigned int stream, long start, long end) {
    RecordedSession session;
    session.id = id;
    session.stream = stream;
    session.kind = "video";
    session.codec = "h264";
    session.format = "1280x720";
    session.fps = 25;
    session.start = start;
    session.end = end;
    session.bytes = 12897485;
    session.filePrefix = "/srv/cam/2026/01/02//record_ktr_cam_R" + std::to_string(id) + "_";
    return session;
  }

  static std::string text(const std::vector<RecordedSession>& sessions) {
    std::ostringstream out;
    SessionReport(out, "cam").printText(sessions, 80);
    return out.str();
  }

  static json parsed(const std::vector<RecordedSession>& sessions,
                     const std::vector<StoredEvent>& events = {}) {
    std::ostringstream out;
    SessionReport(out, "cam", events).printJson(sessions);
    return json::parse(out.str());
  }
};

}  // namespace

TEST_F(SessionReportTest, ShowsTableTimelineAndSum) {
  std::vector<RecordedSession> sessions{video(1, 1, TEN, TEN + 1700),
                                        video(12, 2, TEN + 1700, TEN + 3400)};
  sessions[1].state = RecordedSession::Recording;
  EXPECT_EQ(
      "Recorder cam\n"
      "\n"
      "ID  STREAM  CODEC          START                END       LENGTH   SIZE  STATE\n"
      " 1       1  h264 1280x720  2026-01-02 10:00:00  10:28:20  28m20s  12.3M  stored\n"
      "12       2  h264 1280x720  2026-01-02 10:28:20  10:56:40  28m20s  12.3M  recording\n"
      "\n"
      "2026-01-02 10:00:00 to 2026-01-02 10:56:40, local time (UTC+0000)\n"
      "            10:00       10:10       10:20       10:30       10:40       10:50\n"
      "            |-----------|-----------|-----------|-----------|-----------|-------\n"
      "stream   1  ##################################..................................\n"
      "stream   2  ..................................##################################\n"
      "            # recorded   + in part   . nothing\n"
      "\n"
      "2 sessions, 56m40s, 24.6 MiB\n",
      text(sessions));
}

TEST_F(SessionReportTest, HasAFriendlyLineForNothing) {
  EXPECT_EQ("Recorder 'cam' has recorded nothing yet.\n", text({}));
  EXPECT_EQ(json::array(), parsed({})["sessions"]);
}

TEST_F(SessionReportTest, LeavesDeletedSessionsOutOfTheTimeline) {
  RecordedSession session = video(1, 1, TEN, TEN + 60);
  session.state = RecordedSession::Deleted;
  const std::string report = text({session});
  EXPECT_NE(std::string::npos, report.find("deleted"));
  EXPECT_EQ(std::string::npos, report.find("# recorded"));
  EXPECT_NE(std::string::npos, report.find("1 session, 0s,"));
}

TEST_F(SessionReportTest, ShowsTheDayOfAnEndOnAnotherDay) {
  EXPECT_NE(std::string::npos,
            text({video(1, 1, TEN, TEN + 86400)}).find("2026-01-03 10:00:00  1d"));
}

TEST_F(SessionReportTest, FitsATerminalOf80Columns) {
  std::vector<RecordedSession> sessions{video(1, 1, TEN, TEN + 59), video(99, 12, TEN, TEN + 3000)};
  std::istringstream lines(text(sessions));
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(SessionReportTest, PrintsAllAsJson) {
  const json report = parsed({video(7, 3, TEN, TEN + 60)});
  EXPECT_EQ("cam", report["recorder"]);
  const json& session = report["sessions"][0];
  EXPECT_EQ(7, session["id"]);
  EXPECT_EQ(3, session["stream"]);
  EXPECT_EQ("video", session["kind"]);
  EXPECT_EQ("h264", session["codec"]);
  EXPECT_EQ("1280x720", session["format"]);
  EXPECT_EQ(25, session["fps"]);
  EXPECT_EQ(TEN, session["start"]);
  EXPECT_EQ("2026-01-02T10:01:00+0000", session["endText"]);
  EXPECT_EQ(60, session["seconds"]);
  EXPECT_EQ(12897485, session["bytes"]);
  EXPECT_EQ("stored", session["state"]);
}

TEST_F(SessionReportTest, HasEventsInTheTimelineAndInJson) {
  const StoredEvent event{3, static_cast<unsigned int>(TEN), 9, 1, "door"};
  EXPECT_EQ(3, parsed({video(7, 3, TEN, TEN + 60)}, {event})["events"][0]["sensor"]);
  EXPECT_EQ(json::array(), parsed({video(7, 3, TEN, TEN + 60)})["events"]);
  std::ostringstream out;
  SessionReport(out, "cam", {event}).printText({video(7, 3, TEN, TEN + 60)}, 80);
  EXPECT_NE(std::string::npos, out.str().find("\nevents      !\n"));
}

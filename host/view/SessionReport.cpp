#include "host/view/SessionReport.h"

#include <nlohmann/json.hpp>

#include "host/ByteText.h"
#include "host/input/DurationText.h"
#include "host/input/TimeText.h"
#include "host/view/EventReport.h"
#include "host/view/TextTable.h"
#include "host/view/Timeline.h"

using nlohmann::ordered_json;

namespace {

/** The time of day when the session ends on the day it began, as nearly all do. */
std::string endText(const RecordedSession& session) {
  const bool sameDay = TimeText::format(session.start, "%F") == TimeText::format(session.end, "%F");
  return sameDay ? TimeText::format(session.end, "%H:%M:%S") : TimeText::format(session.end);
}

std::string mediaText(const RecordedSession& session) {
  if (session.codec.empty()) return session.kind;
  return session.format.empty() ? session.codec : session.codec + " " + session.format;
}

ordered_json asJson(const RecordedSession& session) {
  return {{"id", session.id},
          {"stream", session.stream},
          {"kind", session.kind},
          {"codec", session.codec},
          {"format", session.format},
          {"fps", session.fps},
          {"start", session.start},
          {"end", session.end},
          {"startText", TimeText::format(session.start, "%FT%T%z")},
          {"endText", TimeText::format(session.end, "%FT%T%z")},
          {"seconds", session.seconds()},
          {"bytes", session.bytes},
          {"state", session.stateName()},
          {"filePrefix", session.filePrefix}};
}

}  // namespace

void SessionReport::printText(const std::vector<RecordedSession>& sessions,
                              unsigned int width) const {
  if (sessions.empty()) {
    out_ << "Recorder '" << recorder_ << "' has recorded nothing yet.\n";
    return;
  }
  out_ << "Recorder " << recorder_ << "\n\n";
  printTable(sessions);
  out_ << "\n";
  Timeline timeline;
  for (const RecordedSession& session : sessions) {
    if (session.state == RecordedSession::Deleted) continue;
    timeline.add(session.stream, session.start, session.end);
  }
  for (const StoredEvent& event : events_) timeline.addEvent(event.time);
  timeline.print(out_, width);
  out_ << "\n";
  printSum(sessions);
}

void SessionReport::printTable(const std::vector<RecordedSession>& sessions) const {
  TextTable table({{"ID", TextTable::Right},
                   {"STREAM", TextTable::Right},
                   {"CODEC", TextTable::Left},
                   {"START", TextTable::Left},
                   {"END", TextTable::Left},
                   {"LENGTH", TextTable::Right},
                   {"SIZE", TextTable::Right},
                   {"STATE", TextTable::Left}});
  for (const RecordedSession& session : sessions) {
    table.addRow({std::to_string(session.id), std::to_string(session.stream), mediaText(session),
                  TimeText::format(session.start), endText(session),
                  DurationText::format(session.seconds()), ByteText::formatShort(session.bytes),
                  session.stateName()});
  }
  table.print(out_);
}

void SessionReport::printSum(const std::vector<RecordedSession>& sessions) const {
  uint64_t bytes = 0;
  long seconds = 0;
  for (const RecordedSession& session : sessions) {
    bytes += session.bytes;
    if (session.state != RecordedSession::Deleted) seconds += session.seconds();
  }
  out_ << sessions.size() << (sessions.size() == 1 ? " session, " : " sessions, ")
       << DurationText::format(seconds) << ", " << ByteText::format(bytes) << "\n";
}

void SessionReport::printJson(const std::vector<RecordedSession>& sessions) const {
  ordered_json list = ordered_json::array();
  for (const RecordedSession& session : sessions) list.push_back(asJson(session));
  ordered_json events = ordered_json::array();
  for (const StoredEvent& event : events_) events.push_back(EventReport::asJson(event));
  out_ << ordered_json{{"recorder", recorder_}, {"sessions", list}, {"events", events}}.dump(
              2, ' ', false, ordered_json::error_handler_t::replace)
       << "\n";
}

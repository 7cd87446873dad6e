#include "host/commands/SessionsCommand.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "host/HostContext.h"
#include "host/RecorderLock.h"
#include "host/SessionCatalog.h"
#include "host/events/EventCatalog.h"
#include "host/input/StreamNumber.h"
#include "host/view/SessionReport.h"

namespace {

constexpr const char* DESCRIPTION = "Show what a recorder has recorded, as a table and a timeline";

constexpr const char* FOOTER = R"(Examples:
  ktr sessions --root ~/video --recorder home
  ktr sessions --root ~/video --recorder home --stream 1 --json

A session is one continuous recording of one stream. In the timeline # is
recorded, + is recorded in part, and . is nothing; ! marks an event.)";

std::vector<StoredEvent> eventsAmong(const std::vector<RecordedSession>& sessions,
                                     const std::string& recorder) {
  if (sessions.empty()) return {};
  EventCatalog::Query query;
  query.from = sessions.front().start;
  long end = sessions.front().end;
  for (const RecordedSession& session : sessions) {
    query.from = std::min(*query.from, session.start);
    end = std::max(end, session.end);
  }
  query.seconds = end - *query.from + 1;
  return EventCatalog(recorder).read(query);
}

}  // namespace

CLI::App* SessionsCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("sessions", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  command->add_option("--stream", stream_, "Only this stream, 0 to 255")->type_name("N");
  options_.addJson(*command);
  return command;
}

int SessionsCommand::run(HostContext& context) {
  const StorageRoot root = options_.storageRoot();
  const RecorderName name = options_.recorderName();
  std::optional<unsigned char> stream;
  if (!stream_.empty()) stream = StreamNumber::parse(stream_);

  context.open(options_, HostContext::Reading);
  SessionCatalog catalog(context.recorder(name), RecorderLock::isHeld(root, name));
  const std::vector<RecordedSession> sessions = catalog.read(stream);
  const SessionReport report(context.out(), name.text(), eventsAmong(sessions, name.text()));
  if (options_.json()) {
    report.printJson(sessions);
  } else {
    report.printText(sessions, HostContext::outputWidth());
  }
  return 0;
}

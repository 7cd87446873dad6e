#include "host/commands/EventsCommand.h"

#include <CLI/CLI.hpp>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/byevents/ConfirmPipe.h"
#include "host/events/EventWatch.h"
#include "host/input/DurationText.h"
#include "host/input/EventText.h"
#include "host/input/StreamNumber.h"
#include "host/input/TimeText.h"
#include "host/system/StopSignal.h"
#include "host/view/EventReport.h"
#include "runtime/KTClock.h"

using std::chrono::seconds;

namespace {

constexpr const char* DESCRIPTION = "Add, list or watch the events of a recorder";

constexpr const char* FOOTER = R"(Examples:
  ktr events add   --root ~/video --recorder home --sensor 3 --type 1
  ktr events add   --root ~/video --recorder home --sensor 3 --type 1 --confirm
  ktr events list  --root ~/video --recorder home --from -1h --newest-first
  ktr events watch --root ~/video --recorder home --json

An event has a time, a sensor, a type, an id and up to 255 bytes of data. It can
be added while the recorder is being recorded. TIME is as for ktr play.)";

constexpr int POLL_MS = 1000;

}  // namespace

CLI::App* EventsCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("events", DESCRIPTION);
  command->footer(FOOTER);
  add_ = command->add_subcommand("add", "Add an event");
  list_ = command->add_subcommand("list", "Show what has happened");
  watch_ = command->add_subcommand("watch", "Show what happens, until stopped with Ctrl-C");
  for (CLI::App* part : {add_, list_, watch_}) {
    part->group("Commands");
    options_.addDatabaseOptions(*part);
    options_.addRecorder(*part);
  }
  defineAdd(*add_);
  defineList(*list_);
  defineWatch(*watch_);
  return command;
}

void EventsCommand::defineAdd(CLI::App& command) {
  command.add_option("--sensor", sensor_, "Sensor")->required()->type_name("N");
  command.add_option("--type", type_, "What has happened, 0 to 2147483647")
      ->required()
      ->type_name("N");
  command.add_option("--id", id_, "Number of the event, for your own use")->type_name("N");
  command.add_option("--at", at_, "When it happened; now if left out")->type_name("TIME");
  command
      .add_option("--data", data_,
                  "Text, or the bytes of a file, at most 255:\n"
                  "playback holds their number in 8 bits")
      ->type_name("TEXT|@FILE");
  CLI::Option* confirm = command.add_flag(
      "--confirm", confirm_, "Keep what is recorded by events, the time before included");
  command.add_option("--stream", stream_, "Keep only this stream; all if left out")
      ->type_name("N")
      ->needs(confirm);
}

void EventsCommand::defineList(CLI::App& command) {
  command.add_option("--sensor", sensor_, "Only this sensor")->type_name("N");
  CLI::Option* from =
      command.add_option("--from", from_, "Only from this time on")->type_name("TIME");
  command.add_option("--for", length_, "Only so long after --from, such as 1h")
      ->type_name("TIME")
      ->needs(from);
  command.add_flag("--newest-first", newestFirst_, "The newest first, not the oldest");
  options_.addJson(command);
}

void EventsCommand::defineWatch(CLI::App& command) {
  command.add_option("--sensor", sensor_, "Only this sensor")->type_name("N");
  command
      .add_option("--from", from_, "Begin with what happened from this time on; now if left out")
      ->type_name("TIME");
  command.add_option("--for", length_, "Stop after this time, such as 1h")->type_name("TIME");
  options_.addJson(command);
}

int EventsCommand::run(HostContext& context) {
  if (add_->parsed()) return add(context);
  if (list_->parsed()) return list(context);
  if (watch_->parsed()) return watch(context);
  throw usageError("ktr events needs one word more", "give add, list or watch");
}

EventCatalog EventsCommand::open(HostContext& context) {
  context.open(options_, HostContext::Reading);
  const RecorderName name = options_.recorderName();
  (void)context.recorder(name);
  return EventCatalog(name.text());
}

std::optional<unsigned int> EventsCommand::sensor() const {
  if (sensor_.empty()) return std::nullopt;
  return EventText::number(sensor_, "a sensor");
}

StoredEvent EventsCommand::checkedEvent() const {
  StoredEvent event;
  event.sensor = EventText::number(sensor_, "a sensor");
  event.type = EventText::type(type_);
  event.id = EventText::number(id_, "the number of an event");
  event.time = static_cast<unsigned int>(TimeText::parse(at_));
  event.data = EventText::data(data_);
  return event;
}

int EventsCommand::add(HostContext& context) {
  (void)options_.recorderName();
  const StoredEvent event = checkedEvent();
  if (confirm_) confirm();
  open(context).add(event);
  context.out() << "added: ";
  EventReport(context.out()).printLine(event);
  return 0;
}

// Before the event is stored, since the window goes on meanwhile.
void EventsCommand::confirm() const {
  const RecorderName name = options_.recorderName();
  ConfirmPipe::Confirmation what;
  if (!stream_.empty()) what = StreamNumber::parse(stream_);
  if (ConfirmPipe::send(options_.storageRoot().recorderDirectory(name), what)) return;
  throw failure("recorder '" + name.text() + "' is not being recorded by events",
                "start it with ktr record --by-events, or leave out --confirm");
}

EventCatalog::Query EventsCommand::checkedQuery() const {
  EventCatalog::Query query;
  query.sensor = sensor();
  if (!from_.empty()) query.from = TimeText::parse(from_);
  if (!length_.empty()) query.seconds = DurationText::parse(length_);
  query.newestFirst = newestFirst_;
  return query;
}

int EventsCommand::list(HostContext& context) {
  (void)options_.recorderName();
  const EventCatalog::Query query = checkedQuery();
  const std::vector<StoredEvent> events = open(context).read(query);
  const EventReport report(context.out());
  if (options_.json()) {
    report.printJson(options_.recorderName().text(), events);
  } else {
    report.printTable(events);
  }
  return 0;
}

int EventsCommand::watch(HostContext& context) {
  (void)options_.recorderName();
  const long from = TimeText::parse(from_.empty() ? "now" : from_);
  const long length = length_.empty() ? DurationText::MAX : DurationText::parse(length_);
  const std::optional<unsigned int> only = sensor();
  const StopSignal stop;
  const EventCatalog catalog = open(context);
  EventWatch events(catalog, only, from);
  const EventReport report(context.out());
  const KTClock::Span end = KTClock::instance()->elapsed() + seconds(length);
  do {
    for (const StoredEvent& event : events.poll()) {
      if (options_.json()) {
        report.printJsonLine(event);
      } else {
        report.printLine(event);
      }
    }
  } while (KTClock::instance()->elapsed() < end && !stop.waitFor(POLL_MS) && context.out().good());
  return 0;
}

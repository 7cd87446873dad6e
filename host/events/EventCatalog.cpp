#include "host/events/EventCatalog.h"

#include <algorithm>

#include "host/HostError.h"
#include "playback/KTREventStreamReadSession.h"
#include "recording/KTREventStreamRecordSession.h"
#include "recording/KTRMessageType.h"
#include "runtime/KTREventWriter.h"

namespace {

using Parameters = KTREventStreamReadSession::Parameters;

KTString number(long value) {
  return KTString().format("%ld", value);
}

KTString conditionOf(const EventCatalog::Query& query) {
  Parameters params;
  if (query.sensor) params["sensorid"] = number(*query.sensor);
  if (query.from) params["starttime"] = number(*query.from);
  if (query.seconds) params["duration"] = number(*query.seconds);
  if (query.newestFirst) params["sort"] = "DESC";
  return KTREventStreamReadSession::buildLoadEventSQLQuery(params);
}

}  // namespace

std::vector<StoredEvent> EventCatalog::read(const Query& query) const {
  Parameters params;
  params["event_query"] = conditionOf(query);
  params["load_events"] = "1";
  KTREventStreamReadSession session(KTString(recorder_), 0);
  if (session.load(params) == -1) {
    throw failure("cannot read the events of recorder '" + recorder_ + "'",
                  "see the messages above");
  }
  std::vector<StoredEvent> events;
  KTDataBlock batch;
  unsigned int ignored = 0;
  while (session.getFrame(batch, ignored) > 0) {
    for (StoredEvent& event : StoredEvent::parseBatch(batch)) events.push_back(std::move(event));
  }
  // The condition takes sensor 0 for every sensor.
  if (query.sensor) {
    std::erase_if(events, [&](const StoredEvent& event) { return event.sensor != *query.sensor; });
  }
  return events;
}

// The session tells nobody whether it stored an event, so that it is looked for.
void EventCatalog::add(const StoredEvent& event) const {
  const size_t before = count(event);
  {
    KTREventStreamRecordSession session(KTString(recorder_), 0,
                                        KTREventStreamRecordSession::ALL_SENSORS);
    (void)session.commit(KTREventWriter::build(event.row()), KTRMessageType::FrameData,
                         KTMessage::NormalPriority);
    (void)session.commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
    session.wait();
  }
  if (count(event) <= before) {
    throw failure("the event was not stored", "see the messages above, and try again");
  }
}

size_t EventCatalog::count(const StoredEvent& event) const {
  Query query;
  query.sensor = event.sensor;
  query.from = event.time;
  query.seconds = 1;
  const std::vector<StoredEvent> events = read(query);
  return static_cast<size_t>(std::count(events.begin(), events.end(), event));
}

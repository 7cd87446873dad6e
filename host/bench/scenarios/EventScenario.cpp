#include "host/bench/scenarios/EventScenario.h"

#include "host/bench/ResourceMeter.h"
#include "recording/KTREventStreamRecordSession.h"
#include "runtime/KTREventWriter.h"

namespace {

constexpr unsigned int EVENTS = 20'000;
constexpr unsigned int SHORT_EVENTS = 100;
constexpr unsigned int DATA_BYTES = 64;
constexpr unsigned int SENSORS = 16;

/**
 * Is told of each event right before it is stored. From one to the next is the time that an event
 * takes.
 */
class NoticeClock : public KTRTask {
 public:
  explicit NoticeClock(size_t events) { latencies_.reserve(events); }
  [[nodiscard]] KTString name() const override { return "NoticeClock"; }
  int run() override { return 0; }
  int commit(const KTDataBlock&, int, KTMessage::Priority) override {
    tick();
    return 0;
  }
  /** Ends the last event, or begins with the first. */
  void tick() {
    const auto now = Latencies::Clock::now();
    if (before_ != Latencies::Clock::time_point()) latencies_.add(now - before_);
    before_ = now;
  }
  [[nodiscard]] const Latencies& latencies() const { return latencies_; }

 private:
  Latencies latencies_;
  Latencies::Clock::time_point before_;
};

KTDataBlock eventNumber(unsigned int number) {
  KTREventRow row;
  row.sensorID = number % SENSORS;
  row.timeStamp = 1'700'000'000 + number / SENSORS;
  row.eventID = number;
  row.eventType = 1;
  row.data = KTDataBlock(DATA_BYTES);
  return KTREventWriter::build(row);
}

}  // namespace

EventScenario::EventScenario(BenchPlace& place)
    : place_(place), events_(place.size(EVENTS, SHORT_EVENTS)) {}

std::string EventScenario::description() const {
  return std::to_string(events_) + " events with " + std::to_string(DATA_BYTES) +
         " bytes of data, one message each";
}

Measurement EventScenario::run() {
  const std::string recorder = "events" + std::to_string(++runs_);
  KTR_DB_handle& database = place_.recorder(recorder);
  Measurement result;
  NoticeClock clock(events_);
  {
    const ResourceMeter meter(place_.serverPid());
    KTREventStreamRecordSession session(KTString(recorder), 0,
                                        KTREventStreamRecordSession::ALL_SENSORS);
    session.setNotifyTask(&clock);
    for (unsigned int i = 0; i < events_; ++i) {
      (void)session.commit(eventNumber(i), KTRMessageType::FrameData, KTMessage::NormalPriority);
    }
    (void)session.commit(KTDataBlock(), KTRMessageType::Stop, KTMessage::NormalPriority);
    session.wait();
    clock.tick();
    meter.read(result);
  }
  result.latencies = clock.latencies();
  result.operations = database.eventTable()->getEventListNum("");
  result.expectEqual("events", events_, result.operations);
  return result;
}

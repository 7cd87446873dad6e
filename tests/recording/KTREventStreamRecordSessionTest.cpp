#include "recording/KTREventStreamRecordSession.h"

#include "runtime/KTREventWriter.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TableBlock.h"

namespace {

constexpr unsigned int ALL = KTREventStreamRecordSession::ALL_SENSORS;
constexpr const char* UNKNOWN = "[ KTREventRecordSession::run() ] : UNKNOWN 512";

// Keeps the notices that it gets.
class Listener : public KTRTask {
 public:
  struct Notice {
    KTDataBlock data;
    int type;
    KTMessage::Priority priority;
  };

  KTString name() const override { return "Listener"; }
  int run() override { return 0; }
  int commit(const KTDataBlock& data, int type, KTMessage::Priority priority) override {
    notices.push_back({data, type, priority});
    return answer;
  }

  std::vector<Notice> notices;
  int answer = 0;
};

class KTREventStreamRecordSessionTest : public RecorderFixture {
 protected:
  ~KTREventStreamRecordSessionTest() override { events_.reset(); }

  void listen(unsigned int sensorMask = ALL, const KTString& recorder = "cam") {
    events_ = std::make_unique<KTREventStreamRecordSession>(recorder, STREAM, sensorMask);
    settle(*events_);
  }
  int commit(int type, const KTDataBlock& data = KTDataBlock()) {
    return events_->commit(data, type, KTMessage::NormalPriority);
  }
  void sendAndSettle(int type, const KTDataBlock& data = KTDataBlock()) {
    commit(type, data);
    settle(*events_);
  }
  // An event of a sensor as the tests know it: id 0x2a, type 0xb.
  [[nodiscard]] static KTDataBlock event(unsigned int sensor, const char* data = "") {
    KTREventRow row;
    row.sensorID = sensor;
    row.timeStamp = static_cast<unsigned int>(START);
    row.eventID = 0x2a;
    row.eventType = 0xb;
    row.data = KTString(data).dataBlock();
    return KTREventWriter::build(row);
  }
  void sensor(unsigned int id) { sendAndSettle(KTRMessageType::FrameData, event(id)); }
  [[nodiscard]] std::vector<std::string> storedSensors() {
    return rows("SELECT sensorID FROM eventsList ORDER BY id");
  }

  Listener listener_;
  std::unique_ptr<KTREventStreamRecordSession> events_;
};

TEST_F(KTREventStreamRecordSessionTest, EventsAreStoredWithTheirData) {
  listen();
  sendAndSettle(KTRMessageType::FrameData, event(12, "open"));
  EXPECT_EQ(value("SELECT sensorID,timeStamp,eventID,eventType,data FROM eventsList"),
            "12,1700000000,42,11,open");
}

TEST_F(KTREventStreamRecordSessionTest, SeveralEventsInOneMessageAreAllStored) {
  listen();
  EXPECT_FALSE(events_->dataArrived());
  sendAndSettle(KTRMessageType::FrameData, event(1) + event(2) + event(3));
  EXPECT_EQ(storedSensors(), (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_TRUE(events_->dataArrived());
}

TEST_F(KTREventStreamRecordSessionTest, MessageWithoutASoundEventStoresNothing) {
  listen();
  sendAndSettle(KTRMessageType::FrameData, KTDataBlock(19));
  EXPECT_TRUE(storedSensors().empty());
  EXPECT_FALSE(events_->dataArrived());
  EXPECT_TRUE(events_->alive());
}

TEST_F(KTREventStreamRecordSessionTest, EveryEventIsLogged) {
  listen();
  sensor(12);
  EXPECT_TRUE(log_.has(16, "Start Event Session StreamID"));
  EXPECT_TRUE(log_.has(
      16, "EVENT RECEIVED !!!! SensorID:12 EventId:0x2a EventType:0xb TimeStamp:1700000000"));
}

TEST_F(KTREventStreamRecordSessionTest, EmptyMaskDropsSensorsUpToSixteenAfterLoggingThem) {
  listen(0);
  for (unsigned int id = 0; id <= 17; ++id) sensor(id);
  EXPECT_EQ(storedSensors(), (std::vector<std::string>{"17"}));
  EXPECT_EQ(log_.countContaining("EVENT RECEIVED !!!! SensorID:"), 18U);
}

TEST_F(KTREventStreamRecordSessionTest, FullMaskTakesEverySensor) {
  listen(0x1FFFF);
  for (unsigned int id = 0; id <= 18; ++id) sensor(id);
  EXPECT_EQ(storedSensors().size(), 19U);
}

TEST_F(KTREventStreamRecordSessionTest, MaskBitTakesItsSensor) {
  listen(1U << 16 | 1U << 3);
  for (unsigned int id = 0; id <= 16; ++id) sensor(id);
  EXPECT_EQ(storedSensors(), (std::vector<std::string>{"3", "16"}));
}

TEST_F(KTREventStreamRecordSessionTest, SensorsFarAboveTheMaskAreTaken) {
  listen(0);
  sensor(0xFFFFFFFF);
  EXPECT_EQ(storedSensors(), (std::vector<std::string>{"4294967295"}));
  EXPECT_EQ(log_.countContaining("SensorID:-1 "), 1U);
}

TEST_F(KTREventStreamRecordSessionTest, AcceptedEventIsPassedOnAsANotice) {
  listen();
  events_->setNotifyTask(&listener_);
  sensor(12);
  ASSERT_EQ(listener_.notices.size(), 1U);
  EXPECT_EQ(listener_.notices[0].type, 0x4000);
  EXPECT_EQ(listener_.notices[0].priority, 0);
  const unsigned char expected[] = {12, 0, 0, 0, 0xb, 0, 0, 0, 'c', 'a', 'm'};
  EXPECT_EQ(listener_.notices[0].data, KTDataBlock(expected, sizeof expected));
}

TEST_F(KTREventStreamRecordSessionTest, MaskedEventsGiveNoNotice) {
  listen(0);
  events_->setNotifyTask(&listener_);
  sensor(12);
  EXPECT_TRUE(listener_.notices.empty());
}

TEST_F(KTREventStreamRecordSessionTest, FormerNotifyTaskIsUsedNoMore) {
  listen();
  events_->setNotifyTask(&listener_);
  events_->setNotifyTask(nullptr);
  sensor(12);
  EXPECT_TRUE(listener_.notices.empty());
  EXPECT_EQ(storedSensors().size(), 1U);
}

TEST_F(KTREventStreamRecordSessionTest, RefusedNoticeDoesNotKeepTheEventFromTheTable) {
  listen();
  listener_.answer = -1;
  events_->setNotifyTask(&listener_);
  sensor(12);
  EXPECT_EQ(listener_.notices.size(), 1U);
  EXPECT_EQ(storedSensors().size(), 1U);
}

TEST_F(KTREventStreamRecordSessionTest, NotifyTaskChangesWhileEventsArrive) {
  listen();
  for (unsigned int i = 0; i < 200; ++i) {
    commit(KTRMessageType::FrameData, event(i % 16));
    events_->setNotifyTask(i % 2 == 0 ? &listener_ : nullptr);
  }
  settle(*events_);
  EXPECT_EQ(storedSensors().size(), 200U);
}

TEST_F(KTREventStreamRecordSessionTest, SilenceNeverEndsTheSession) {
  listen();
  for (int i = 0; i < 3; ++i) {
    clock_.advanceSeconds(15);
    settle(*events_);
  }
  EXPECT_TRUE(events_->alive());
  sensor(12);
  EXPECT_EQ(storedSensors().size(), 1U);
}

TEST_F(KTREventStreamRecordSessionTest, StopStoresEveryEventThatWasCommitted) {
  listen();
  whileHeldUpBy(UNKNOWN, [&] {
    commit(0x200);
    commit(KTRMessageType::FrameData, event(1));
    commit(KTRMessageType::Stop);
    commit(KTRMessageType::FrameData, event(2));
  });
  events_->wait();
  EXPECT_EQ(storedSensors(), (std::vector<std::string>{"1", "2"}));
  EXPECT_EQ(commit(KTRMessageType::FrameData, event(3)), -1);
}

TEST_F(KTREventStreamRecordSessionTest, DestructionStoresEveryEventThatWasCommitted) {
  listen();
  for (unsigned int i = 0; i < 100; ++i) commit(KTRMessageType::FrameData, event(1));
  events_.reset();
  EXPECT_EQ(storedSensors().size(), 100U);
}

TEST_F(KTREventStreamRecordSessionTest, UnknownMessagesAreReportedAndTwoKindsAreNot) {
  listen();
  sendAndSettle(KTRMessageType::Ignored);
  sendAndSettle(KTRMessageType::Time, KTDataBlock(8));
  EXPECT_EQ(log_.countContaining("UNKNOWN"), 0U);
  sendAndSettle(0x200);
  EXPECT_TRUE(log_.has(64, UNKNOWN));
  EXPECT_TRUE(events_->alive());
}

TEST_F(KTREventStreamRecordSessionTest, StopBitGoesBeforeTheEvents) {
  listen();
  commit(KTRMessageType::Stop | KTRMessageType::FrameData, event(1));
  events_->wait();
  EXPECT_TRUE(storedSensors().empty());
}

TEST_F(KTREventStreamRecordSessionTest, ThreadIsMadeKnownToTheClientLibraryForAsLongAsItRuns) {
  const ClientCalls calls;
  listen();
  EXPECT_EQ(calls.threadInits(), 1U);
  EXPECT_EQ(calls.threadEnds(), 0U);
  events_.reset();
  EXPECT_EQ(calls.threadEnds(), 1U);
}

TEST_F(KTREventStreamRecordSessionTest, EventWithoutAnIdIsReportedAndTheSessionGoesOn) {
  listen();
  exec("DROP TABLE eventsList");
  exec(
      "CREATE TABLE eventsList (id INT UNSIGNED DEFAULT 0, sensorID INT UNSIGNED, "
      "timeStamp INT UNSIGNED, eventID INT UNSIGNED, eventType INT UNSIGNED, data LONGBLOB)");
  sendAndSettle(KTRMessageType::FrameData, event(1) + event(2));
  EXPECT_EQ(log_.count(128, "ADD ROW FAILED CLOSE SESSION !res:0"), 2U);
  EXPECT_TRUE(events_->alive());
}

TEST_F(KTREventStreamRecordSessionTest, RefusedInsertIsNotReportedAndTheSessionGoesOn) {
  listen();
  exec("DROP TABLE eventsList");
  sensor(12);
  EXPECT_EQ(log_.countContaining("ADD ROW FAILED"), 0U);
  EXPECT_TRUE(events_->alive());
}

TEST_F(KTREventStreamRecordSessionTest, DatabaseWithoutAnEventTableIsReportedForEachEvent) {
  MariaDbServer::instance().exec("CREATE DATABASE ktr_cam");
  {
    const TableBlock block("ktr_cam", "eventsList");
    listen();
  }
  sensor(12);
  EXPECT_EQ(log_.count(128, "ADD ROW FAILED CLOSE SESSION !res:0"), 1U);
  EXPECT_TRUE(events_->alive());
}

TEST_F(KTREventStreamRecordSessionTest, WithoutADatabaseTheSessionEndsAndEmptiesItsQueue) {
  whileHeldUpBy("Start Event Session StreamID", [&] {
    events_ = std::make_unique<KTREventStreamRecordSession>("no such'name", STREAM, ALL);
    for (unsigned int i = 0; i < 10; ++i) EXPECT_EQ(commit(KTRMessageType::FrameData, event(i)), 0);
  });
  events_->wait();
  EXPECT_TRUE(log_.has(16, "ENDING  KTREventRecordSession"));
  EXPECT_EQ(events_->queueLength(), 0U);
  EXPECT_EQ(commit(KTRMessageType::FrameData, event(1)), -1);
}

TEST_F(KTREventStreamRecordSessionTest, IsNamedAfterItsClassAndKeepsItsStreamNumber) {
  listen();
  EXPECT_EQ(events_->name(), "KTREventStreamRecordSession");
  EXPECT_EQ(events_->streamNumber(), STREAM);
}

}  // namespace

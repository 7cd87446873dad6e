#include "recording/KTREventStreamRecordSession.h"

#include <mysql.h>

#include "handles/KTR_DB_factory.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "runtime/LittleEndian.h"

namespace {
constexpr unsigned int NOTICE_HEAD_SIZE = 8;  // sensor id and event type
}  // namespace

KTREventStreamRecordSession::KTREventStreamRecordSession(const KTString& dbName,
                                                         unsigned int streamNumber,
                                                         unsigned int sensorMask)
    : dbName_(dbName), streamNumber_(streamNumber), sensorMask_(sensorMask) {
  start(false);
}

KTREventStreamRecordSession::~KTREventStreamRecordSession() {
  queue_.disable();
  wait();
}

KTString KTREventStreamRecordSession::name() const {
  return "KTREventStreamRecordSession";
}

void KTREventStreamRecordSession::setNotifyTask(KTRTask* task) {
  const KTCriticalCode guard(notifyMutex_);
  notifyTask_ = task;
}

KTR_DB_handle* KTREventStreamRecordSession::openDatabase() const {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  return factory == nullptr ? nullptr : factory->createDB(dbName_);
}

int KTREventStreamRecordSession::run() {
  mysql_thread_init();
  KTLogger::instance()->log(KTLogger::Information, "Start Event Session StreamID");
  if (openDatabase() != nullptr) {
    serve();
  } else {
    KTLogger::instance()->log(KTLogger::Information, "ENDING  KTREventRecordSession");
    queue_.disable();
    drainQueue();
  }
  mysql_thread_end();
  return 0;
}

// A queue that is disabled gets no more messages, so that its being empty is final only then.
void KTREventStreamRecordSession::serve() {
  while (queue_.enabled() || !queue_.empty()) {
    const KTMessage* message = queue_.deq(KTTimeValue(TIMEOUT_SECONDS, 0));
    if (message == nullptr) continue;
    handle(message);
    message->destroy();
  }
}

void KTREventStreamRecordSession::handle(const KTMessage* message) {
  const int type = message->type;
  if ((type & KTRMessageType::Stop) != 0) {
    queue_.disable();
  } else if ((type & KTRMessageType::FrameData) != 0) {
    takeEvents(message->data());
  } else if ((type & (KTRMessageType::Ignored | KTRMessageType::Time)) == 0) {
    KTLogger::instance()->log(KTLogger::Warning, "[ KTREventRecordSession::run() ] : UNKNOWN %d",
                              type);
  }
}

void KTREventStreamRecordSession::takeEvents(const KTDataBlock& data) {
  KTREventFrame parser;
  if (!parser.parse(data)) return;
  do {
    takeEvent(parser.getRow());
  } while (parser.next());
  dataArrived_ = true;
}

void KTREventStreamRecordSession::takeEvent(const KTREventRow& event) {
  KTLogger::instance()->log(KTLogger::Information,
                            "EVENT RECEIVED !!!! SensorID:%d EventId:0x%x EventType:0x%x "
                            "TimeStamp:%u",
                            static_cast<int>(event.sensorID), event.eventID, event.eventType,
                            event.timeStamp);
  if (!accepts(event.sensorID)) return;
  notify(event);
  addRow(event);
}

bool KTREventStreamRecordSession::accepts(unsigned int sensor) const {
  return sensor > LAST_MASKED_SENSOR || (sensorMask_ >> sensor & 1U) != 0;
}

// The mutex is held over commit(), which never waits, so that a task that was unset is done with.
void KTREventStreamRecordSession::notify(const KTREventRow& event) {
  const KTCriticalCode guard(notifyMutex_);
  if (notifyTask_ == nullptr) return;
  KTDataBlock notice(NOTICE_HEAD_SIZE);
  storeLittleEndian(notice.writable(), event.sensorID);
  storeLittleEndian(notice.writable() + 4, event.eventType);
  notice += dbName_.dataBlock();
  (void)notifyTask_->commit(notice, KTRMessageType::EventNotice, KTMessage::NormalPriority);
}

void KTREventStreamRecordSession::addRow(const KTREventRow& event) {
  KTR_DB_handle* db = openDatabase();
  KTREventTable* table = db == nullptr ? nullptr : db->eventTable();
  const int result = table == nullptr ? 0 : table->addRow(event);
  if (result != 0) return;
  KTLogger::instance()->log(KTLogger::Error, "ADD ROW FAILED CLOSE SESSION !res:%d", result);
}

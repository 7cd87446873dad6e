// Life of the session and its run loop.
#include "recording/KTRAudioStreamRecordSession.h"

#include <mysql.h>

#include "handles/KTR_DB_factory.h"
#include "runtime/KTLogger.h"

KTRAudioStreamRecordSession::KTRAudioStreamRecordSession(const KTRStreamRecordParams& params)
    : KTRStreamRecordSession(params) {
  start(false);
}

KTRAudioStreamRecordSession::~KTRAudioStreamRecordSession() {
  queue_.disable();
  wait();
}

KTString KTRAudioStreamRecordSession::name() const {
  return "KTRAudioStreamRecordSession";
}

int KTRAudioStreamRecordSession::run() {
  KTLogger::instance()->log(KTLogger::Information, "Starting KTRAudioStreamRecordSession...");
  mysql_thread_init();
  KTRVideoFrame parser;
  if (KTR_DB_factory* factory = KTR_DB_factory::instance()) (void)factory->createDB(params_.dbName);
  while (queue_.enabled()) {
    if (const KTMessage* message = nextMessage()) {
      handle(message, parser);
      message->destroy();
    } else if (queue_.enabled()) {
      KTLogger::instance()->log(KTLogger::Warning, "NO AUDIO PACKET -> CLOSING Session #%d  ",
                                params_.streamId);
      queue_.disable();
    }
  }
  drainQueue();
  if (isUnconfirmed()) {
    removeUnconfirmed(database(),
                      "KTRAudioStreamRecordSession::run() remove session %u because of ByEvents");
  }
  mysql_thread_end();
  return 0;
}

void KTRAudioStreamRecordSession::handle(const KTMessage* message, KTRVideoFrame& parser) {
  const int type = message->type;
  if ((type & KTRMessageType::Stop) != 0) {
    queue_.disable();
  } else if ((type & KTRMessageType::FrameData) != 0) {
    takeFrames(message->data(), parser);
  } else if ((type & KTRMessageType::ByEvents) != 0) {
    needNewSession_ = true;
    params_.recordMode = KTRStreamRecordParams::ByEvents;
  } else if ((type & KTRMessageType::EventConfirmed) != 0) {
    confirmEvent();
  } else if ((type & KTRMessageType::Ignored) == 0) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ KTRAUDIOStreamRecordSession::run() ] : UNKNOWN");
  }
}

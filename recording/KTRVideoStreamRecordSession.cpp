// Life of the session and its run loop.
#include "recording/KTRVideoStreamRecordSession.h"

#include <mysql.h>

#include <cstdlib>

#include "runtime/KTLogger.h"
#include "runtime/LittleEndian.h"

namespace {

constexpr unsigned int MICROSECONDS = 1000000;
constexpr long SLOW_TURN_SECONDS = 3;
constexpr long KEY_FRAME_SECONDS = 180;
constexpr unsigned int TIME_MESSAGE_SIZE = 8;

unsigned int intervalOf(unsigned int framesPerSecond) {
  return framesPerSecond == 0 ? 0 : MICROSECONDS / framesPerSecond;
}

}  // namespace

KTRVideoStreamRecordSession::KTRVideoStreamRecordSession(const KTRStreamRecordParams& params)
    : KTRStreamRecordSession(params),
      defaultFrameInterval_(intervalOf(params.videoSettings.videoParam1)),
      sessionFrameInterval_(defaultFrameInterval_) {
  start(false);
}

KTRVideoStreamRecordSession::~KTRVideoStreamRecordSession() {
  queue_.disable();
  wait();
  if (stopMessage_ != nullptr) stopMessage_->destroy();
}

KTString KTRVideoStreamRecordSession::name() const {
  return "KTRVideoStreamRecordSession";
}

int KTRVideoStreamRecordSession::run() {
  mysql_thread_init();
  KTRVideoFrame parser;
  turnStart_ = KTTimeValue::now();
  while (queue_.enabled()) {
    noteTurn();
    KTMessage* message = nextMessage();
    turnStart_ = KTTimeValue::now();
    if (message != nullptr) {
      handle(message, parser);
    } else if (queue_.enabled()) {
      KTLogger::instance()->log(KTLogger::Warning, "NO VIDEO PACKET -> CLOSING %d  ",
                                params_.streamId);
      queue_.disable();
    }
  }
  drainQueue();
  if (KTR_DB_handle* db = isUnconfirmed() ? database() : nullptr) {
    removeUnconfirmed(db,
                      "KTRVideoStreamRecordSession::run() remove session %u because of ByEvents");
  }
  mysql_thread_end();
  return 0;
}

void KTRVideoStreamRecordSession::noteTurn() {
  turnNow_ = KTTimeValue::now();
  turnLength_ = turnNow_ - turnStart_;
  if (turnLength_.tv_sec <= SLOW_TURN_SECONDS) return;
  KTLogger::instance()->log(KTLogger::Warning, "TOO SLOW !!! One turn have took : %d sec %d usec",
                            static_cast<int>(turnLength_.tv_sec),
                            static_cast<int>(turnLength_.tv_usec));
}

void KTRVideoStreamRecordSession::handle(KTMessage* message, KTRVideoFrame& parser) {
  const int type = message->type;
  if ((type & KTRMessageType::Stop) != 0) {
    queue_.disable();
    stopMessage_ = message;
    return;
  }
  if ((type & KTRMessageType::Time) != 0) {
    takeTime(message->data());
  } else if ((type & KTRMessageType::FrameData) != 0) {
    takeFrames(message->data(), parser);
    superviseKeyFrames();
  } else if ((type & KTRMessageType::ByEvents) != 0) {
    switchToByEvents(parser);
  } else if ((type & KTRMessageType::EventConfirmed) != 0) {
    confirmEvent();
  } else if ((type & KTRMessageType::Ignored) == 0) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ KTRVideoStreamRecordSession::run() ] : UNKNOWN");
  }
  message->destroy();
}

void KTRVideoStreamRecordSession::takeTime(const KTDataBlock& data) {
  if (data.size < TIME_MESSAGE_SIZE) {
    KTLogger::instance()->log(KTLogger::Warning, "[ %s ] time message of %u bytes dropped",
                              name().c_str(), data.size);
    return;
  }
  const long gatewayTime = static_cast<int>(loadLittleEndian(data.data));
  setServerTime(gatewayTime, static_cast<int>(loadLittleEndian(data.data + 4)));
}

void KTRVideoStreamRecordSession::superviseKeyFrames() {
  if (std::abs(serverTime() - lastKeyFrameClock_) <= KEY_FRAME_SECONDS) return;
  KTLogger::instance()->log(KTLogger::Warning, "NO IFRAMES for 180 sec -> CLOSING %d  ",
                            params_.streamId);
  params_.recordMode = KTRStreamRecordParams::Continuous;
  queue_.disable();
}

void KTRVideoStreamRecordSession::switchToByEvents(KTRVideoFrame& parser) {
  needNewSession_ = true;
  params_.recordMode = KTRStreamRecordParams::ByEvents;
  parser.clear();
}

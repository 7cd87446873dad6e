// Life of the object and the conventions of time.
#include "recording/KTRStreamRecordSession.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "handles/KTR_DB_factory.h"
#include "recording/SlicePlan.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "runtime/KTTimeValue.h"

namespace {
constexpr long DAY_SECONDS = 86400;
constexpr long MIDNIGHT_MARGIN = 600;
constexpr mode_t DIRECTORY_MODE = 0700;

// Logs that a frame lies on the other side of midnight than the clock; returns its time.
__attribute__((format(printf, 1, 0))) long shifted(const char* text, long gateway, long frameTime) {
  KTLogger::instance()->log(KTLogger::Information, text, static_cast<unsigned int>(gateway),
                            static_cast<unsigned int>(frameTime));
  return frameTime;
}
}  // namespace

KTRStreamRecordSession::KTRStreamRecordSession(const KTRStreamRecordParams& params)
    : params_(params),
      keyFramesPerSlice_(SlicePlan::of(params.preEventKeyFrames).framesPerSlice),
      maxSlices_(SlicePlan::of(params.preEventKeyFrames).maxSlices) {}

KTRStreamRecordSession::~KTRStreamRecordSession() {
  if (file_ != nullptr) (void)file_->_close();
}

KTString KTRStreamRecordSession::name() const {
  return "KTRStreamRecordSession";
}

bool KTRStreamRecordSession::needRefreshRCRDTable(KTRVideoFrame&) {
  return refreshCounter_++ % refreshPeriod_ == 0;
}

bool KTRStreamRecordSession::deleteExtraSlice(KTR_DB_handle* db, unsigned int sessionId) {
  return db->deleteOlderSlicesOfRecorderSession(sessionId);
}

KTR_DB_handle* KTRStreamRecordSession::database() const {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  return factory == nullptr ? nullptr : factory->db_instance(params_.dbName);
}

long KTRStreamRecordSession::serverTime() {
  return KTTimeValue::now().tv_sec;
}

void KTRStreamRecordSession::setServerTime(long gatewayTime, long serverTime) {
  const KTCriticalCode guard(timeMutex_);
  const long offset = serverTime - gatewayTime;
  timeOffset_ = static_cast<int>(serverTime > gatewayTime ? offset - 1 : offset);
}

long KTRStreamRecordSession::getGatewayTime() const {
  return serverTime() - timeOffset_;
}

long KTRStreamRecordSession::getRealTime(unsigned int frameStampMs) {
  const KTCriticalCode guard(timeMutex_);
  const long gateway = serverTime() - timeOffset_;
  const long dayStart = gateway / DAY_SECONDS * DAY_SECONDS;
  const long secondOfDay = gateway - dayStart;
  const long frameSecond = static_cast<long>(frameStampMs / 1000);
  const long result = dayStart + frameSecond;
  if (secondOfDay < MIDNIGHT_MARGIN && frameSecond > DAY_SECONDS - MIDNIGHT_MARGIN) {
    return shifted("Time jumped above midnight servertime=%u frametime=%u", gateway,
                   result - DAY_SECONDS);
  }
  if (frameSecond < MIDNIGHT_MARGIN && secondOfDay + MIDNIGHT_MARGIN > DAY_SECONDS) {
    return shifted("Clone time jumped above midnight servertime=%u frametime=%u", gateway,
                   result + DAY_SECONDS);
  }
  return result;
}

bool KTRStreamRecordSession::builStorageDirName(KTString& dir) {
  const KTString stamp = KTTimeValue(getGatewayTime(), 0).asString("%F %T");
  KTString date = stamp.split(" ").first;
  date.replace("-", "/", true);
  dir = dir + "/" + date + "/";
  return mkDirFull(dir);
}

bool KTRStreamRecordSession::mkDirFull(const KTString& path) {
  const KTVector<KTString> components = path.tokenize('/');
  KTString running;
  for (unsigned int i = 0; i < components.count(); ++i) {
    if (components[i].empty()) continue;
    running += KTString("/") + components[i];
    if (mkdir(running.c_str(), DIRECTORY_MODE) == 0 || errno == EEXIST) continue;
    KTLogger::instance()->log(KTLogger::Error, "%s creation failed ", running.c_str());
    return false;
  }
  return true;
}

KTRRecordProgress KTRStreamRecordSession::progress() const {
  return {shownSession_, shownSlice_, shownFrames_, shownBytes_, shownSliceBytes_};
}

// The road of one frame: data file, index row, record session row.
#include <cstdint>
#include <cstdlib>

#include "recording/KTRVideoStreamRecordSession.h"
#include "runtime/KTLogger.h"

namespace {

constexpr unsigned int LONG_QUEUE = 20;
constexpr std::int64_t JPEG_ROW_MS = 3001;
constexpr long LARGEST_LEAD_SECONDS = 3600;
constexpr long LARGEST_LAG_SECONDS = 300;

// A number that tells this session from others in the log.
unsigned int identityOf(const void* object) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(object));
}

}  // namespace

bool KTRVideoStreamRecordSession::records(KTRVideoFrame& frame) {
  if (frame.contentIndicator() == 0) {
    lastKeyFrameClock_ = serverTime();
    return true;
  }
  const long realTime = getRealTime(frame.timeStamp());
  const bool startsPlayback = frame.isJpeg() || frame.isKFrame();
  if (startsPlayback) lastKeyFrameClock_ = serverTime();
  if (startsPlayback && needNewSession_ && !openSession(realTime)) return false;
  if (!recording_) return true;

  if (!storeFrame(frame)) return false;
  if (!startsPlayback) return true;
  KTR_DB_handle* db = database();
  if (db == nullptr) return false;
  return frame.isJpeg() ? recordJpegRow(frame, realTime, db)
                        : updateVideoRecordSessionInfo(frame, realTime, db);
}

bool KTRVideoStreamRecordSession::storeFrame(KTRVideoFrame& frame) {
  ++frameCount_;
  if (store(frame.data()) != 0) {
    return refusedAt("Saving error !!! fileindex:%d record:%d offset:%d");
  }
  if (const unsigned int length = queueLength(); length > LONG_QUEUE) {
    KTLogger::instance()->log(KTLogger::Warning, "[%u]QUEUE SIZE IS GROWING  !! size:%d",
                              identityOf(this), static_cast<int>(length));
  }
  return true;
}

// Every picture of a JPEG stream is a key frame; one in three seconds is enough for the index.
bool KTRVideoStreamRecordSession::recordJpegRow(KTRVideoFrame& frame, long realTime,
                                                KTR_DB_handle* db) {
  const std::int64_t stamp = frame.timeStamp();
  if (std::abs(stamp - static_cast<std::int64_t>(lastJpegRowStamp_)) < JPEG_ROW_MS) return true;
  if (!updateVideoRecordSessionInfo(frame, realTime, db)) return false;
  lastJpegRowStamp_ = frame.timeStamp();
  return true;
}

bool KTRVideoStreamRecordSession::updateVideoRecordSessionInfo(KTRVideoFrame& frame, long realTime,
                                                               KTR_DB_handle* db) {
  if (realTime == lastRowTime_) return true;
  lastRowTime_ = realTime;
  noteKeyStamp(frame.timeStamp());
  if (!isTimely(frame, realTime)) return false;
  currentRow_.setValues(static_cast<int>(sessionId_), static_cast<int>(file_->recordOffset()),
                        realTime, file_->fileIndex(), frameInterval());
  if (havePendingRow_ && !writePendingRow(realTime, db)) return false;
  pendingRow_ = currentRow_;
  havePendingRow_ = true;
  if (params_.recordMode == KTRStreamRecordParams::ByEvents) cutByEventsSlice(db);
  return true;
}

void KTRVideoStreamRecordSession::noteKeyStamp(unsigned int stamp) {
  if (lastKeyStamp_ != 0) keyInterval_ = stamp - lastKeyStamp_;
  lastKeyStamp_ = stamp;
  followFrameClock(stamp);
}

bool KTRVideoStreamRecordSession::isTimely(const KTRVideoFrame& frame, long realTime) {
  const long gateway = getGatewayTime();
  if (realTime > gateway + LARGEST_LEAD_SECONDS) {
    KTLogger::instance()->log(
        KTLogger::Warning,
        "Frame timestamp:%d after conversion%d is greater than the KTGSERV time :%d!!!=> begin new "
        "session disable the queue..! ",
        static_cast<int>(frame.timeStamp()), static_cast<int>(realTime), static_cast<int>(gateway));
    return false;
  }
  if (gateway - realTime <= LARGEST_LAG_SECONDS) return true;
  KTLogger::instance()->log(
      KTLogger::Warning,
      "Recording is too slow => closing session serverTime:%d currentFrameTime:%d queue_size:%d "
      "messages videoFrameParser_.size:%d bytes",
      static_cast<int>(gateway), static_cast<int>(realTime), static_cast<int>(queueLength()),
      static_cast<int>(frame.unparsedSize()));
  return false;
}

// Microseconds a frame. The divisor is the count since the session began, not since the last key
// frame: readers of the index are used to it.
unsigned int KTRVideoStreamRecordSession::frameInterval() const {
  if (frameCount_ == 0 || keyInterval_ == 0) return defaultFrameInterval_;
  return keyInterval_ / frameCount_ * 1000;
}

bool KTRVideoStreamRecordSession::writePendingRow(long realTime, KTR_DB_handle* db) {
  KTRStreamTable* table = db->streamInstance(sessionId_);
  if (table == nullptr) {
    KTLogger::instance()->log(KTLogger::Error, "videoStreamTable stream %d instance is NULL !",
                              static_cast<int>(sessionId_));
    return false;
  }
  if (table->addRow(pendingRow_) != 0) {  // step F2
    return refusedAt("addRowRes error !!! fileindex:%d record:%d  offset:%d !");
  }
  return rowUpdated(db->recordSessionTable()->updateEndTime(  // step F3
                        sessionId_, realTime, static_cast<int>(sessionFrameInterval_)) == 0);
}

void KTRVideoStreamRecordSession::resetVideoSessionRecordVariables() {
  frameCount_ = 0;
  sessionFrameInterval_ = 0;
  keyFramesInSlice_ = 0;
  slicesKept_ = 0;
  lastKeyStamp_ = 0;
  prevKeyStamp_ = 0;
  keyInterval_ = 0;
  lastJpegRowStamp_ = 0;
  needNewSession_ = false;
  havePendingRow_ = false;
  recording_ = true;
}

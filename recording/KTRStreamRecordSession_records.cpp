// What messages ask for: frames into the data file, recording by events.
#include "recording/KTRStreamRecordSession.h"
#include "runtime/KTLogger.h"

bool KTRStreamRecordSession::records(KTRVideoFrame&) {
  return false;
}

void KTRStreamRecordSession::takeFrames(const KTDataBlock& data, KTRVideoFrame& parser) {
  if (!parser.parse(data)) return;
  do {
    if (records(parser)) continue;
    parser.clear();
    queue_.disable();
    break;
  } while (parser.next());
  dataArrived_ = true;
}

void KTRStreamRecordSession::confirmEvent() {
  if (params_.recordMode == KTRStreamRecordParams::ByEvents) {
    KTR_DB_handle* db = database();
    if (db != nullptr && db->recordSessionTable() != nullptr) (void)markAvailable(db);
  }
  params_.recordMode = KTRStreamRecordParams::Continuous;
}

// NOLINTNEXTLINE(readability-make-member-function-const): it takes the session away
void KTRStreamRecordSession::removeUnconfirmed(KTR_DB_handle* db, const char* text) {
  KTLogger::instance()->log(KTLogger::Information, text, sessionId_);
  if (db != nullptr) db->deleteStreamSession(sessionId_);
}

void KTRStreamRecordSession::followFrameClock(unsigned int stampMs) {
  if (prevKeyStamp_ > stampMs &&
      params_.sessionKind == KTRStreamRecordParams::FOLLOWS_FRAME_CLOCK) {
    needNewSession_ = true;
  }
  prevKeyStamp_ = stampMs;
}

int KTRStreamRecordSession::store(const KTDataBlock& frame) {
  const int result = file_->writeKTRData(frame);
  if (result == 0) {
    shownFrames_.fetch_add(1, std::memory_order_relaxed);
    shownBytes_.fetch_add(frame.size, std::memory_order_relaxed);
    shownSlice_.store(file_->fileIndex(), std::memory_order_relaxed);
    shownSliceBytes_.store(file_->writeOffset(), std::memory_order_relaxed);
  }
  return result;
}

void KTRStreamRecordSession::cutByEventsSlice(KTR_DB_handle* db) {
  if (++keyFramesInSlice_ < keyFramesPerSlice_) return;
  file_->createNextSlice();
  keyFramesInSlice_ = 0;
  if (++slicesKept_ < maxSlices_) return;
  deleteExtraSlice(db, sessionId_);
  --slicesKept_;
}

bool KTRStreamRecordSession::refusedAt(const char* text) const {
  KTLogger::instance()->log(KTLogger::Error, text, file_->fileIndex(), static_cast<int>(sessionId_),
                            static_cast<int>(file_->recordOffset()));
  return false;
}

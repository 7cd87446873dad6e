// The road of one frame: header file, data file, index row, record session row.
#include <fcntl.h>

#include "recording/KTRAudioStreamRecordSession.h"
#include "runtime/KTLogger.h"

namespace {

constexpr unsigned int FRAME_INTERVAL_USEC = 100000;  // whatever the codec's frames last

// A longer file of an earlier writing must not leave its end behind.
bool writeWhole(KTFile& file, const KTDataBlock& content) {
  return file.open(O_RDWR | O_CREAT, KTFile::DEFAULT_MODE) == 0 &&
         file.write(content) == static_cast<int>(content.size) && file.truncate(content.size) == 0;
}

}  // namespace

bool KTRAudioStreamRecordSession::records(KTRVideoFrame& frame) {
  if (frame.contentIndicator() == 0) return true;
  const long realTime = getRealTime(frame.timeStamp());
  if (needNewSession_) {
    if (!openSession(realTime)) return false;
    if (audioHeader_.size == 0) {
      audioHeader_ = frame.data();
      return saveHeader(audioHeader_);
    }
    (void)saveHeader(audioHeader_);
  }
  followFrameClock(frame.timeStamp());
  if (!recording_) return true;

  if (store(frame.data()) != 0) {
    return refusedAt("Saving Error! fileindex:%d record:%d  offset:%d");
  }
  KTR_DB_handle* db = database();
  if (db == nullptr || !addIndexRow(realTime, db)) return false;
  if (!rowUpdated(db->recordSessionTable()->updateEndTime(sessionId_, realTime, 0) == 0)) {
    return false;
  }
  if (params_.recordMode == KTRStreamRecordParams::ByEvents) cutByEventsSlice(db);
  return true;
}

bool KTRAudioStreamRecordSession::saveHeader(const KTDataBlock& header) {
  KTR_DB_handle* db = database();
  if (db == nullptr || header.size < HEADER_OFFSET) return false;
  KTFile file(db->getAudioHeaderFilename(static_cast<int>(sessionId_)));
  if (writeWhole(file, header.copy(HEADER_OFFSET, header.size - HEADER_OFFSET))) return true;
  KTLogger::instance()->log(KTLogger::Error, "[AUDIO] Cant write header file %s !!",
                            file.name().c_str());
  return false;
}

bool KTRAudioStreamRecordSession::addIndexRow(long realTime, KTR_DB_handle* db) {
  currentRow_.setValues(static_cast<int>(sessionId_), static_cast<int>(file_->recordOffset()),
                        realTime, file_->fileIndex(), FRAME_INTERVAL_USEC);
  KTRStreamTable* table = db->streamInstance(sessionId_);
  if (table != nullptr && table->addRow(currentRow_) == 0) return true;
  return refusedAt("Saving error !!! fileindex:%d record:%d  offset:%d");
}

void KTRAudioStreamRecordSession::resetSessionRecordVariables() {
  keyFramesInSlice_ = 0;
  slicesKept_ = 0;
  needNewSession_ = false;
  recording_ = true;
}

// Moving through a loaded recording.
#include "playback/KTRStreamReadSession.h"
#include "runtime/KTLogger.h"

bool KTRStreamReadSession::stop() {
  pause();
  return seek(0);
}

bool KTRStreamReadSession::rewind(unsigned int seconds) {
  pause();
  const bool moved = seek(static_cast<int>(0U - seconds));
  _playing = true;
  return moved;
}

bool KTRStreamReadSession::forward(unsigned int seconds) {
  pause();
  const bool moved = seek(static_cast<int>(seconds));
  _playing = true;
  return moved;
}

bool KTRStreamReadSession::pause() {
  _playing = false;
  return true;
}

void KTRStreamReadSession::lockFile() {
  _fileMutex.lock(false);
}

void KTRStreamReadSession::unlockFile() {
  _fileMutex.unlock();
}

bool KTRStreamReadSession::openFileNSeekIt(int fileIndex, int offset) {
  KTR_DB_handle* db = database();
  if (db == nullptr) return false;
  const KTString prefix = db->getFullPrefixFileName(static_cast<int>(_recordSession.id));
  lockFile();
  _file.reset();
  _fileSession = _recordSession.id;
  _file = std::make_unique<KTRFile>(prefix, static_cast<unsigned char>(fileIndex),
                                    KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  const bool positioned = _file->go_to_pos(static_cast<unsigned int>(offset)) == 0;
  unlockFile();
  return positioned;
}

bool KTRStreamReadSession::seek(int seconds) {
  KTR_DB_handle* db = database();
  lockFile();
  if (db == nullptr || _file == nullptr || !_file->opened()) {
    unlockFile();
    return false;
  }
  if (seconds == 0) {
    unlockFile();
    return openFileNSeekIt(_fileIndex, static_cast<int>(_fileOffset));
  }
  const unsigned int stamp = _file->curFrameTimeStamp();
  if (stamp == 0) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ SEEK ] Failed No Frame Read - no timestamp available !!! ");
    unlockFile();
    return false;
  }
  // The index hands out a time and a session id; they are taken as slice and offset as they are.
  int index = 0;
  int offset = 0;
  const long time = getRealTimeWithBaseTime(_startTime, static_cast<long>(stamp));
  KTRStreamTable* table = db->streamInstance(_recordSession.id);
  if (table == nullptr || !table->getStreamIndexesList(time, seconds, index, offset)) {
    unlockFile();
    KTLogger::instance()->log(KTLogger::Warning, "[ SEEK ] Failed !!! ");
    return false;
  }
  if (static_cast<unsigned int>(index) == _file->curFileIndex()) {
    const bool moved = _file->go_to_pos(static_cast<unsigned int>(offset)) == 0;
    unlockFile();
    return moved;
  }
  unlockFile();
  KTLogger::instance()->log(KTLogger::Warning, "[ SEEK ] NOT current file !!! ");
  return openFileNSeekIt(index, offset);
}

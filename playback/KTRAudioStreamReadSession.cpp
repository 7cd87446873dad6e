#include "playback/KTRAudioStreamReadSession.h"

#include "runtime/KTLogger.h"
#include "runtime/KTRFrameFormat.h"
#include "runtime/LittleEndian.h"

KTRAudioStreamReadSession::~KTRAudioStreamReadSession() = default;

const char* KTRAudioStreamReadSession::name() const {
  return "KTRAudioStreamReadSession";
}

void KTRAudioStreamReadSession::setNeedHeader(bool needHeader) {
  lockFile();
  _needHeader = needHeader;
  unlockFile();
}

int KTRAudioStreamReadSession::getFrame(KTDataBlock& frame, unsigned int&) {
  lockFile();
  const bool delivered = mayRead() && readFrame(frame);
  unlockFile();
  return delivered;
}

bool KTRAudioStreamReadSession::readFrame(KTDataBlock& frame) {
  if (!_needHeader) return _file->readKTRData(frame) > 0;
  return loadAudioHeader() && readWithHeader(frame);
}

bool KTRAudioStreamReadSession::loadAudioHeader() {
  _streamHeader.clear();
  KTR_DB_handle* db = database();
  if (db == nullptr) return false;
  KTFile file(db->getAudioHeaderFilename(static_cast<int>(_fileSession)));
  if (file.open(KTRFile::READ_FLAGS, KTFile::DEFAULT_MODE) != 0) return false;
  const int got = file.read(_streamHeader, MAX_HEADER_SIZE);
  if (got <= 0) return false;
  KTLogger::instance()->log(KTLogger::Information,
                            "2. Load  result:%d , _streamHeader : %d bytes file : %s", got,
                            static_cast<int>(_streamHeader.size), file.name().c_str());
  return true;
}

bool KTRAudioStreamReadSession::readWithHeader(KTDataBlock& frame) {
  KTDataBlock raw;
  const bool whole = _file->readKTRData(raw) > 0 && raw.size >= KTRFrameFormat::HEAD_SIZE;
  _needHeader = false;
  frame.clear();
  if (!whole) return false;
  frame = splice(raw);
  KTLogger::instance()->log(KTLogger::Information,
                            "Add Header Final Frame size:%d bytes original size was: %d bytes",
                            static_cast<int>(frame.size), static_cast<int>(raw.size));
  return true;
}

KTDataBlock KTRAudioStreamReadSession::splice(const KTDataBlock& raw) const {
  constexpr unsigned int head = KTRFrameFormat::HEAD_SIZE;
  constexpr unsigned int length = KTRFrameFormat::LENGTH_OFFSET;
  KTDataBlock frame = raw.copy(0, head);
  storeLittleEndian(frame.writable() + length,
                    loadLittleEndian(raw.data + length) + _streamHeader.size);
  frame += _streamHeader;
  frame += raw.copy(head, raw.size - head);
  return frame;
}

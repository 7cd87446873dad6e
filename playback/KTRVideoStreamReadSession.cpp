#include "playback/KTRVideoStreamReadSession.h"

KTRVideoStreamReadSession::~KTRVideoStreamReadSession() = default;

const char* KTRVideoStreamReadSession::name() const {
  return "KTRVideoStreamReadSession";
}

int KTRVideoStreamReadSession::getFrame(KTDataBlock& frame, unsigned int&) {
  lockFile();
  const bool delivered = mayRead() && _file->readKTRData(frame) > 0;
  unlockFile();
  return delivered;
}

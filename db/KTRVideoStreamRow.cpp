#include "db/KTRVideoStreamRow.h"

KTRVideoStreamRow::~KTRVideoStreamRow() = default;

void KTRVideoStreamRow::setValues(int newId, int newOffset, long newTime,
                                  unsigned char newFileIndex, unsigned int newDelayUsec) {
  id = newId;
  offset = newOffset;
  time = newTime;
  fileIndex = newFileIndex;
  delayUsec = newDelayUsec;
}

// Both compilers warn of the '#', which changes nothing before a u.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
KTString KTRVideoStreamRow::getQuery() const {
  return KTString().format(" (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ( %u,%u,%u,%#u,%u ) ",
                           static_cast<unsigned int>(id), static_cast<unsigned int>(offset),
                           static_cast<unsigned int>(time), static_cast<unsigned int>(fileIndex),
                           delayUsec);
}
#pragma GCC diagnostic pop

#include "db/KTRRecorderSessionRow.h"

#include "runtime/KTTimeValue.h"

KTRRecorderSessionRow::~KTRRecorderSessionRow() = default;

// Both compilers warn of the '#', which changes nothing before a u.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
KTString KTRRecorderSessionRow::getQuery() const {
  return KTString().format(
      " ( streamID, settingsID, start_time,end_time,update_time, "
      "dataAvailable,storage,streamType,realFps) VALUES ( %#u,%u,%u,%u,%u,%u,'%s',%u,%u ) ",
      streamID, settingsID, start_time, end_time,
      static_cast<unsigned int>(KTTimeValue::now().tv_sec), dataAvailable, storage.c_str(),
      static_cast<unsigned int>(streamType), realFps);
}
#pragma GCC diagnostic pop

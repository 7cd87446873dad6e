#pragma once

#include <cstdint>

#include "db/KTRRow.h"

/**
 * One "dataStreams" row: where the frame of one second of a record session is stored.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: time in gateway seconds, offset in bytes.
 */
class KTR_API KTRVideoStreamRow : public KTRRow {
 public:
  int id = 0;              // record-session id
  int offset = 0;          // of the frame's record in its slice file
  long time = 0;           // of the frame
  uint8_t fileIndex = 0;   // slice number
  uint32_t delayUsec = 0;  // since the previous indexed frame

  KTRVideoStreamRow() = default;
  KTRVideoStreamRow(const KTRVideoStreamRow&) = default;
  KTRVideoStreamRow& operator=(const KTRVideoStreamRow&) = default;
  ~KTRVideoStreamRow() override;

  void setValues(int id, int offset, long time, unsigned char fileIndex, unsigned int delayUsec);
  [[nodiscard]] KTString getQuery() const override;
};

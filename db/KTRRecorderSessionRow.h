#pragma once

#include <cstdint>

#include "db/KTRRow.h"
#include "db/streamTypes.h"

/**
 * One "recordSessions" row: one continuous recording of one stream with one settings combination.
 * The fields stand in the order of the table's columns.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Units: times in gateway seconds, update_time in server seconds, realFps in frames per second.
 */
class KTR_API KTRRecorderSessionRow : public KTRRow {
 public:
  uint32_t id = 0;  // given by the database, never inserted
  uint32_t streamID = 0;
  uint32_t settingsID = 0;  // id of the "streamSettings" row
  uint32_t start_time = 0;
  uint32_t end_time = 0;
  uint32_t update_time = 0;    // as read back; a written row gets the time of its writing
  uint32_t dataAvailable = 0;  // 0 when the session's files are gone
  KTString storage;            // directory of the slice files
  streamTypes streamType = STREAM_UNKNOWN;
  uint32_t realFps = 0;

  KTRRecorderSessionRow() = default;
  KTRRecorderSessionRow(const KTRRecorderSessionRow&) = default;
  KTRRecorderSessionRow& operator=(const KTRRecorderSessionRow&) = default;
  ~KTRRecorderSessionRow() override;

  /** The update time in it is now. */
  [[nodiscard]] KTString getQuery() const override;
};

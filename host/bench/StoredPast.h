#pragma once

#include <string>

#include "handles/KTR_DB_handle.h"

/**
 * Recordings of the past as rows of a recorder's database, millions of them in a minute: what a
 * scenario finds there that looks for footage or deletes it. The files are the scenario's.
 *
 * Owns: index rows that are not written yet; finish() writes them.
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 * Errors: HostError when the server refuses a row.
 * Units: seconds since the epoch, bytes.
 */
class StoredPast {
 public:
  explicit StoredPast(KTR_DB_handle& recorder);

  /** The row of a record session of those seconds, stored in the directory: its id. */
  [[nodiscard]] unsigned int addSession(const std::string& directory, unsigned int stream,
                                        long start, long end);
  /** An index row, to be added in the order of sessions and times. */
  void addRow(unsigned int session, unsigned int offset, long time, unsigned int slice);
  /** Writes what is left. */
  void finish();

 private:
  KTR_DB_handle& recorder_;
  unsigned int settingsId_ = 0;
  std::string rows_;
};

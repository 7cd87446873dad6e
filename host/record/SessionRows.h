#pragma once

#include "runtime/KTString.h"

class KTRRecordSessionTable;

/**
 * What a recording host sees to in the rows of its record sessions.
 *
 * Threads: any thread that the client library knows.
 * Blocks: for the database.
 * Errors: a row that cannot be read or written stays as it is.
 */
class SessionRows {
 public:
  explicit SessionRows(const KTString& recorder) : recorder_(recorder) {}

  /**
   * Two record sessions of a stream cannot begin in one second: the second one's row would never
   * be written. Such a session is given the next second that is free.
   */
  void setFreeStart(unsigned int id, unsigned int stream, long start) const;
  /** The end of a session: its own last update comes with its last key frame. */
  void setEnd(unsigned int id, long end) const;

 private:
  [[nodiscard]] KTRRecordSessionTable* table() const;

  KTString recorder_;
};

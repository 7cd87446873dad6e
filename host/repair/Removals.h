#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/check/CheckSubject.h"
#include "host/check/Finding.h"

/**
 * What a repair would remove, beside all there is: rows and files of sessions of which nothing can
 * be played, slices of which nothing stays, and index rows that point at nothing.
 *
 * Threads: one thread at a time for each object.
 */
struct Removals {
  uint64_t sessions = 0;
  uint64_t rows = 0;  // of the index
  uint64_t files = 0;
  uint64_t allSessions = 0;  // with a row or with files
  uint64_t allRows = 0;
  uint64_t allFiles = 0;

  [[nodiscard]] bool areTooMany() const {
    return 2 * sessions > allSessions || 2 * rows > allRows || 2 * files > allFiles;
  }
  /** "3 of 4 sessions, 0 of 9 index rows, 3 of 8 files" */
  [[nodiscard]] std::string text() const;
  /** Takes in a session with what was found in it. Blocks for the server. */
  void add(const CheckSubject& subject, const std::vector<Finding>& findings,
           RecorderTables& tables);

 private:
  void addSession(const CheckSubject& subject, bool leavesDamaged, RecorderTables& tables);
};

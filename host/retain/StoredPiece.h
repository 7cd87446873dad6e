#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/SessionCatalog.h"

/** The smallest part of a recording that can be deleted: a slice, or a session with all it has. */
struct StoredPiece {
  unsigned int session = 0;
  unsigned int stream = 0;
  std::optional<unsigned int> slice;  ///< nothing: the whole session
  long start = 0;                     ///< seconds
  long end = 0;                       ///< seconds; no frame of the piece is later
  uint64_t bytes = 0;
  std::string path;  ///< of the slice, or what all paths of the session begin with

  /**
   * The pieces of a session in the order in which they go: slices from the oldest on, and the whole
   * session, with all files that are left, in place of the last one. None when the database does
   * not answer.
   */
  [[nodiscard]] static std::vector<StoredPiece> of(const RecordedSession& session,
                                                   KTR_DB_handle& handle);
  /** "slice 3 of session 12, stream 1, 2026-01-02 10:00:00 to 2026-01-02 10:10:00" */
  [[nodiscard]] std::string text() const;
  /** Whether any of its files is still there. */
  [[nodiscard]] bool isOnDisk() const;
};

#pragma once

#include <mysql.h>

#include <cstdint>

#include "runtime/KTRExport.h"

/**
 * A stored result set with its counts. res is set only while there is at least one row.
 *
 * Owns: nothing. Whoever had the holder filled frees the set, with free() or mysql_free_result();
 *     KTROwnedResult does so by itself.
 * Threads: one thread at a time for each object.
 * Blocks: for the process-wide MySQL mutex.
 * Errors: none.
 */
class KTR_API KTRResult {
 public:
  uint32_t numFields = 0;  // columns
  uint32_t numRows = 0;    // the client's 64-bit count, truncated
  MYSQL_RES* res = nullptr;

  /**
   * Takes a result set with its counts. A set without rows is freed at once and not kept; a null
   * pointer is taken as it is and leaves the counts alone. The former set is not freed.
   */
  KTRResult& operator=(MYSQL_RES* r);
  /** Frees the set, if there is one. The counts stay. */
  void free();
};

#pragma once

#include <string>

#include "handles/KTR_DB_handle.h"

/**
 * Keeps new record sessions out of the files of old ones. Session ids name files, and the server
 * counts them; a database that was made anew, or put back from a backup, counts from too low, and
 * the next session would write over the files of another.
 *
 * Threads: the main thread, before the first session starts.
 * Blocks: for the server and the file system.
 * Errors: throws a HostError when the server does not do as it is told.
 */
class SessionIdFloor {
 public:
  /**
   * Makes the next id higher than every id that a file or a row of the recorder bears: the next id
   * when that was needed, else 0.
   */
  static unsigned int raise(KTR_DB_handle& handle, const std::string& recorderDirectory);
};

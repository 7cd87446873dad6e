#pragma once

#include "handles/KTR_DB_handle.h"

/**
 * The windows of recordings by events that nothing has confirmed, by session id, in a table of the
 * recorder's database. The library takes a window's row before the host can take its files, so
 * files of a session that stands here and has no row are those of a window that was thrown away. A
 * database that is lost takes this table along: files without rows are footage then.
 *
 * Owns: nothing; the handle must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 */
class WindowTable {
 public:
  static constexpr const char* NAME = "eventWindows";

  explicit WindowTable(KTR_DB_handle& handle) : handle_(handle) {}

  /** Whether the session stands there now; makes the table when there is none. */
  [[nodiscard]] bool add(unsigned int session);
  /** Harmless when it does not stand there, and without the table. */
  void unlist(unsigned int session);

 private:
  KTR_DB_handle& handle_;
};

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "handles/KTR_DB_handle.h"
#include "host/check/RecorderTables.h"

/**
 * Changes rows of a recorder's tables as a repair needs it. Texts are escaped.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 * Errors: throws a HostError when the server refuses.
 */
class TableWriter {
 public:
  struct IndexRow {
    uint32_t offset = 0;
    uint32_t time = 0;  // seconds
    unsigned int slice = 0;
    uint32_t delayUsec = 0;
  };

  explicit TableWriter(KTR_DB_handle& handle) : handle_(handle) {}

  /** Makes the index table if it is missing. */
  void makeIndexTable();
  /** The id of a settings row, which is added when it is missing. */
  [[nodiscard]] unsigned int settingsId(const RecorderTables::Settings& settings);
  /** With the id that it has; a row of that id is replaced. */
  void addSession(const RecorderTables::Session& session);
  /** Writes all columns but the id. */
  void updateSession(const RecorderTables::Session& session);
  /** The row of a session and its index rows. */
  void removeSession(unsigned int session);
  void removeIndex(unsigned int session);
  /** No session counts as a window that nothing has confirmed any more. */
  void clearWindows();

  /**
   * What follows is done as a whole with commit(), or not at all, unless the connection is lost
   * meanwhile: that throws before the next statement.
   */
  void begin();
  /** Of rows of a session with the same time the first one stays. */
  void addRow(unsigned int session, const IndexRow& row);
  void commit();
  /** Whether the connection was lost: then it may be done again, from the beginning. */
  [[nodiscard]] bool abandon();

 private:
  void run(const KTString& statement);
  [[nodiscard]] unsigned long connection();
  void expectSameConnection();
  void flushRows();
  [[nodiscard]] std::string quoted(const std::string& text);

  KTR_DB_handle& handle_;
  unsigned int session_ = 0;
  unsigned long connection_ = 0;  // of the transaction; 0 outside of one
  std::vector<IndexRow> pending_;
};

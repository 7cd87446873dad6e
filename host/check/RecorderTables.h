#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "handles/KTR_DB_handle.h"

/**
 * The tables of a recorder as they really are, row by row: what the library's own readers pass over
 * or make up is here as the server has it. Without a database everything is empty.
 *
 * Rows of "dataStreams" are read a slice at a time, so that memory does not grow with a recorder.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 * Errors: throws a HostError when the server does not answer; a table that is missing has no rows.
 */
class RecorderTables {
 public:
  struct Session {
    unsigned int id = 0;
    unsigned int stream = 0;
    unsigned int settings = 0;
    long start = 0;  // seconds
    long end = 0;    // seconds
    long updated = 0;
    unsigned int available = 0;
    std::string storage;
    unsigned int type = 0;  // streamTypes
    unsigned int fps = 0;
  };
  struct IndexRow {
    uint32_t offset = 0;
    uint32_t time = 0;  // seconds
    unsigned int slice = 0;
  };
  struct Settings {
    std::string name;
    std::string text;
    unsigned int type = 0;  // streamTypes
  };

  /** handle: null when the recorder has no database. */
  explicit RecorderTables(KTR_DB_handle* handle) : handle_(handle) {}

  [[nodiscard]] bool exist() const { return handle_ != nullptr; }
  [[nodiscard]] std::vector<Session> sessions() { return readSessions(""); }
  [[nodiscard]] std::optional<Session> session(unsigned int id);
  /** Whether another session of the stream has its start, which the table holds once. */
  [[nodiscard]] bool isStartTaken(const Session& session);
  [[nodiscard]] std::map<unsigned int, Settings> settings();
  /** How many index rows each slice of a session has. */
  [[nodiscard]] std::map<unsigned int, uint64_t> rowsBySlice(unsigned int session);
  /** The index rows of a slice from an offset on, by offset and time. */
  [[nodiscard]] std::vector<IndexRow> rows(unsigned int session, unsigned int slice,
                                           uint64_t fromOffset = 0);
  /** The times that a session has rows of, between two times and at them. */
  [[nodiscard]] std::set<long> times(unsigned int session, long from, long to);
  /** The time of the session's first or last row. */
  [[nodiscard]] std::optional<long> firstTime(unsigned int session);
  [[nodiscard]] std::optional<long> lastTime(unsigned int session);
  /** Sessions that have index rows and no row of their own, with the number of rows. */
  [[nodiscard]] std::map<unsigned int, uint64_t> rowsWithoutSession();
  /** Sessions by events that nothing has confirmed; see WindowTable. */
  [[nodiscard]] std::set<unsigned int> windows();
  [[nodiscard]] uint64_t indexRows();
  /** The id that the next session would get; 0 when there is no table. */
  [[nodiscard]] unsigned int nextId();
  /** The highest session id that any row speaks of. */
  [[nodiscard]] unsigned int highestId();

 private:
  using Row = char**;

  [[nodiscard]] bool hasIndex();
  void read(const KTString& query, const std::function<void(Row)>& take);
  [[nodiscard]] std::vector<Session> readSessions(const KTString& where);
  [[nodiscard]] std::optional<long> number(const KTString& query, unsigned int column = 0);

  KTR_DB_handle* handle_;
  bool indexSeen_ = false;
};

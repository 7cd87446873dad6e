#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/check/CheckSubject.h"
#include "host/check/DiskCatalog.h"
#include "host/check/Finding.h"
#include "host/check/RecorderTables.h"

/**
 * Compares the files of a recorder with its tables, session by session. Nothing is changed.
 *
 * While the recorder records, what its sessions have not flushed yet is passed over, and what is
 * found is looked at a second time: the recording deletes its oldest slices meanwhile.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server and the disk, as long as a disk takes to read all of it at level Full.
 * Errors: throws a HostError when the database does not answer or a directory cannot be read.
 */
class CheckRun {
 public:
  struct Options {
    std::string directory;  // of the recorder
    std::string database;   // its name on the server
    CheckLevel level = CheckLevel::Index;
    std::optional<std::set<unsigned int>> sessions;  // only these, if given
    bool recording = false;                          // a process records the recorder now
    std::function<bool()> stop = [] { return false; };
    /** Bytes of slices that were dealt with, and of all there are. */
    std::function<void(uint64_t, uint64_t)> progress = [](uint64_t, uint64_t) {};
    std::function<void(const Finding&)> report = [](const Finding&) {};
  };
  struct Result {
    uint64_t sessions = 0;
    uint64_t files = 0;
    uint64_t bytes = 0;  // of slices
    uint64_t findings = 0;
    uint64_t indexRows = 0;
    bool stopped = false;
  };

  /** handle: null when the recorder has no database. */
  CheckRun(KTR_DB_handle* handle, Options options);

  /** All sessions, by id. */
  Result run();
  /** The sessions that run() looks at, without looking. */
  [[nodiscard]] std::vector<CheckSubject> subjects();
  [[nodiscard]] const DiskCatalog& disk() const { return disk_; }
  [[nodiscard]] RecorderTables& tables() { return tables_; }

 private:
  [[nodiscard]] CheckSubject subjectOf(const RecorderTables::Session& row);
  void noteNewest(const std::vector<RecorderTables::Session>& rows);
  [[nodiscard]] bool isLive(const RecorderTables::Session& row) const;
  void checkWhole(const std::vector<CheckSubject>& all);
  [[nodiscard]] std::vector<Finding> findingsOf(const CheckSubject& subject);
  void confirm(const CheckSubject& subject, std::vector<Finding>& findings);
  void report(const Finding& finding);

  KTR_DB_handle* const handle_;
  Options options_;
  RecorderTables tables_;
  DiskCatalog disk_;
  std::map<unsigned int, RecorderTables::Settings> settings_;
  std::set<unsigned int> newest_;  // the last session of each stream
  unsigned int highest_ = 0;
  std::map<std::pair<unsigned int, long>, unsigned int> ends_;  // stream and second: session
  uint64_t done_ = 0;                                           // bytes
  Result result_;
};

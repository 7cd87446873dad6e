#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/check/CheckRun.h"
#include "host/repair/SessionMender.h"
#include "host/repair/StreamNumbers.h"

/**
 * Mends what a check of level full finds in a recorder, in the steps of docs/design/repair.md. A
 * run that was cut off anywhere has lost nothing, and the next one goes on.
 *
 * Nobody else may record the recorder meanwhile.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server and the disk.
 * Errors: throws a HostError when it cannot go on; what goes wrong with one session is told in the
 *   result and does not stop the others.
 */
class RepairRun {
 public:
  struct Options {
    CheckRun::Options check;              // level and recording are the run's own
    std::optional<unsigned char> stream;  // of sessions of which nothing tells it
  };
  /** What a repair would remove, beside all there is. */
  struct Removals {
    uint64_t sessions = 0;
    uint64_t rows = 0;
    uint64_t files = 0;
    uint64_t allSessions = 0;
    uint64_t allRows = 0;
    uint64_t allFiles = 0;

    [[nodiscard]] bool areTooMany() const {
      return 2 * sessions > allSessions || 2 * rows > allRows || 2 * files > allFiles;
    }
    [[nodiscard]] std::string text() const;
  };
  struct Result {
    std::vector<Finding> left;          // found again after the repair
    std::vector<std::string> problems;  // why
  };

  explicit RepairRun(Options options) : options_(std::move(options)) {}

  /** Looks and changes nothing. handle: null when the recorder has no database. */
  CheckRun::Result survey(KTR_DB_handle* handle);
  [[nodiscard]] const std::vector<Finding>& findings() const { return findings_; }
  [[nodiscard]] const Removals& removals() const { return removals_; }
  /** Mends what survey() has found. */
  Result mend(KTR_DB_handle& handle);

 private:
  void countRemovals(const CheckRun::Result& found, uint64_t sessions);
  void separateIds(KTR_DB_handle& handle);
  void mendSessions(KTR_DB_handle& handle);
  void mendSession(KTR_DB_handle& handle, SessionMender::Work& work);
  [[nodiscard]] std::vector<SessionMender::Work> workOf(const std::vector<CheckSubject>& subjects);
  void identify(std::vector<SessionMender::Work>& works, const std::vector<CheckSubject>& subjects,
                RecorderTables& tables);
  void checkAgain(KTR_DB_handle& handle);

  Options options_;
  std::vector<Finding> findings_;
  Removals removals_;
  std::set<unsigned int> mended_;
  Result result_;
};

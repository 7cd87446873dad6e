#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/HostError.h"
#include "host/check/CheckRun.h"
#include "host/repair/Removals.h"
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
    bool removesMost = false;             // also more than half of sessions, rows or files
  };
  struct Result {
    std::vector<Finding> left;          // found again after the repair
    std::vector<std::string> problems;  // why
  };

  explicit RepairRun(Options options) : options_(std::move(options)) {}

  /** Looks and changes nothing. handle: null when the recorder has no database. */
  CheckRun::Result survey(KTR_DB_handle* handle);
  /** All that was found and reported, also what mend() has met on its way. */
  [[nodiscard]] const std::vector<Finding>& findings() const { return findings_; }
  [[nodiscard]] const Removals& removals() const { return removals_; }
  /** Why mend() would refuse; nothing when it would not. */
  [[nodiscard]] std::optional<HostError> refusal() const;
  /** Mends what survey() has found; throws refusal() before anything is removed. */
  Result mend(KTR_DB_handle& handle);

 private:
  void guard() const;
  void countRemovals(CheckRun& run, const CheckRun::Result& found);
  [[nodiscard]] bool separateIds(KTR_DB_handle& handle);
  void mendSessions(KTR_DB_handle& handle);
  void mendSession(KTR_DB_handle& handle, SessionMender::Work& work);
  [[nodiscard]] std::vector<SessionMender::Work> workOf(const std::vector<CheckSubject>& subjects);
  void identify(std::vector<SessionMender::Work>& works, const std::vector<CheckSubject>& subjects,
                RecorderTables& tables) const;
  void checkAgain(KTR_DB_handle& handle);

  Options options_;
  std::vector<Finding> findings_;
  std::map<unsigned int, std::vector<Finding>> due_;  // by session: what is to be mended
  Removals removals_;
  std::set<unsigned int> mended_;
  Result result_;
};

#pragma once

#include <string>
#include <vector>

#include "host/check/CheckSubject.h"
#include "host/check/Finding.h"
#include "host/repair/Footage.h"
#include "host/repair/SessionIdentity.h"
#include "host/repair/TableWriter.h"

/**
 * Mends one session: first its files, then its rows, so that rows are made of what is there. The
 * rows change in one transaction. See docs/design/repair.md for the steps.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server and the disk.
 * Errors: throws a HostError; what was done stays done, and mending again goes on.
 */
class SessionMender {
 public:
  struct Work {
    const CheckSubject* subject = nullptr;
    std::vector<Finding> findings;
    SessionIdentity identity;               // where there is no row, or no settings
    std::vector<std::string> alikeHeaders;  // header files of sound with the same settings
  };

  explicit SessionMender(KTR_DB_handle& handle) : tables_(&handle), writer_(handle) {}

  void mend(const Work& work);

 private:
  [[nodiscard]] bool has(Finding::Kind kind) const;
  void mendSlices();
  void fillGaps();
  void mendAudioHeader();
  void removeSession();
  void mendRows();
  void writeRows(RecorderTables::Session row, long start);
  [[nodiscard]] RecorderTables::Session rowToBegin();
  void correct(RecorderTables::Session& row, const Footage& footage);

  RecorderTables tables_;
  TableWriter writer_;
  const Work* work_ = nullptr;
  SessionFiles files_;  // as they are by now
};

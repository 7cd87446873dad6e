#pragma once

#include <functional>
#include <optional>
#include <set>

#include "host/check/CheckSubject.h"
#include "host/check/Finding.h"
#include "host/check/RowCheck.h"
#include "host/check/RowMaker.h"
#include "host/check/SessionWalk.h"

/**
 * Compares the files of one session with its rows. It reports nothing that a sound recording, by
 * whatever host, holds: the last key frame has no row; the end is the time of the last key frame or
 * of the last frame; a session that has lost its oldest slices begins at its first index row; and
 * what RowCheck says of a slice change.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server and the disk.
 * Errors: throws a HostError when the database does not answer. What of the disk cannot be read is
 * a finding.
 */
class SessionCheck {
 public:
  using Add = std::function<void(const Finding&)>;
  /** Called with the number of bytes that a slice has, when it is done. */
  using Progress = std::function<void(uint64_t)>;

  SessionCheck(RecorderTables& tables, CheckLevel level, Add add, Progress progress)
      : tables_(tables), level_(level), add_(std::move(add)), progress_(std::move(progress)) {}

  void check(const CheckSubject& subject);

 private:
  struct Footage;  // what the walk over all slices has seen

  void checkWithoutRow();
  void checkWithoutFootage();
  void checkRow();
  void checkAudioHeader();
  void checkChain();
  void checkSlices(long start);
  [[nodiscard]] std::set<long> checkFrames(unsigned int slice, const RowCheck::Rows& rows,
                                           SessionWalk& walk, Footage& footage);
  void checkDamage(unsigned int slice, const SessionWalk::Slice& walked);
  void reportMissingRow(Footage& footage);
  void checkStart(long start);
  void checkEnd(const Footage& footage);
  [[nodiscard]] std::optional<long> latestFrom(const RecorderTables::IndexRow& row);
  void add(Finding::Kind kind, const std::function<void(Finding&)>& fill = {});

  RecorderTables& tables_;
  CheckLevel level_;
  Add add_;
  Progress progress_;
  const CheckSubject* subject_ = nullptr;
};

#pragma once

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "handles/KTR_DB_factory.h"
#include "host/retain/RetentionRun.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/host/UtcZone.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

/**
 * A recorder "keep" of its own directory with sessions of slices, on a disk whose free space is
 * what a case says less what the recorder's files take.
 */
class RetentionFixture : public UtcZone {
 protected:
  static constexpr long NOW = 1767348000;  // 2026-01-02 10:00:00 UTC
  static constexpr long DAY = 86400;
  static constexpr size_t SLICE = 1000;    // bytes
  static constexpr long SLICE_TIME = 100;  // seconds

  RetentionFixture();
  ~RetentionFixture() override;

  /** A session of so many slices, each of SLICE bytes and SLICE_TIME seconds, from start on. */
  unsigned int record(unsigned int stream, long start, unsigned int slices);
  /** As record(), stored in a directory of the caller's. */
  unsigned int recordInto(const std::string& directory, unsigned int stream, long start,
                          unsigned int slices);
  /** One pass; what it deletes, as "session" or "session.slice", in lines_. */
  RetentionRun::Result pass(RetentionRun::Options options, bool recording = false);
  RetentionRun::Result pass(const RetentionPolicy& policy) { return pass(optionsOf(policy)); }
  [[nodiscard]] RetentionRun::Options optionsOf(const RetentionPolicy& policy);
  /** A policy without any goal. */
  [[nodiscard]] static RetentionPolicy nothing();
  [[nodiscard]] static RetentionPolicy maxSlices(unsigned int slices);
  [[nodiscard]] static RetentionPolicy maxAge(long seconds);
  [[nodiscard]] static RetentionPolicy minFreeSlices(unsigned int slices);

  [[nodiscard]] std::string prefixOf(unsigned int session);
  [[nodiscard]] std::string slicePath(unsigned int session, unsigned int slice);
  /** Slices that have a file, as "1.0 1.1 2.0". */
  [[nodiscard]] std::string onDisk();
  /** Slices that have index rows, in the same form. */
  [[nodiscard]] std::string indexed();
  /** Sessions that have a row. */
  [[nodiscard]] std::string rows();
  [[nodiscard]] static std::string dayOf(long time);
  [[nodiscard]] std::string directory() const { return dir_.path() + "/keep"; }

  ManualClock clock_{NOW};
  LogCapture log_;
  TempDir dir_;
  ServerLease lease_ = ServerLease::acquire(HostTestRoot::shared().paths());
  KTR_DB_factory factory_;
  KTR_DB_handle* handle_;
  uint64_t diskSlices_ = 1000;  // size of the disk, in slices
  std::vector<std::string> deleted_;
  std::vector<std::string> reasons_;

 private:
  [[nodiscard]] std::string joined(const std::string& query);
};

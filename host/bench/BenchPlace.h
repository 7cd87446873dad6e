#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "host/HostContext.h"
#include "host/bench/BenchClip.h"
#include "host/system/StopSignal.h"

/**
 * What scenarios work with: a directory that is removed in the end, a private database server in
 * it, and footage to record. While it lives, a signal to stop is a request that is asked for
 * between two runs.
 *
 * Owns: the directory and everything in it, and the handlers of signals. The context ends factory
 *   and server, and is closed with the place at the latest: whatever uses it must be gone by then.
 * Threads: the main thread; clip() once it was called there from any.
 * Blocks: the constructor for the server, clip() for the encoder at its first call, sync() and
 *   writeDownIndex() for the disk.
 * Errors: HostError.
 */
class BenchPlace {
 public:
  /** Makes a directory of its own below root and opens the context on a fresh server there. */
  BenchPlace(HostContext& context, const StorageRoot& root, bool shortForm);
  BenchPlace(const BenchPlace&) = delete;
  BenchPlace& operator=(const BenchPlace&) = delete;
  ~BenchPlace();

  /** Whether scenarios are to be as small as can be: their counts are checked, no more. */
  [[nodiscard]] bool shortForm() const { return shortForm_; }
  /** One of two sizes. */
  template <typename Size>
  [[nodiscard]] Size size(Size full, Size inShortForm) const {
    return shortForm_ ? inShortForm : full;
  }

  [[nodiscard]] const StopSignal& stop() const { return stop_; }
  [[nodiscard]] const std::string& directory() const { return own_.root.path(); }
  /** A fresh and empty directory of this name; what was there is removed. */
  [[nodiscard]] std::string freshDirectory(const std::string& name) const;
  /** Waits until everything that was written is on the disk: a cost that is only put off is one. */
  void sync() const;
  /** The storage directory that a recorder would have here, made. */
  [[nodiscard]] std::string storageOf(const std::string& recorder) const;
  [[nodiscard]] HostContext& context() const { return context_; }
  /** The database of a recorder, made on first use. Names cannot be reused for a clean one. */
  [[nodiscard]] KTR_DB_handle& recorder(const std::string& name) const;
  /** How many rows a recorder's table holds. */
  [[nodiscard]] static std::uint64_t rows(KTR_DB_handle& recorder,
                                          KTR_DBTable::KtrTableType table) {
    return recorder.tb_rownum(KTR_DBTable::KTR_TableName[table]);
  }
  /**
   * Waits until the index rows of a recorder and all that belongs to them are on the disk, as those
   * of yesterday are: else the server writes them down for minutes, beside what is measured.
   */
  void writeDownIndex(const KTR_DB_handle& recorder) const;
  /** The server's process. */
  [[nodiscard]] pid_t serverPid() const;
  [[nodiscard]] ServerPaths serverPaths() const { return ServerPaths(own_.root); }
  /** Footage of 4 Mbit/s and 25 frames a second. */
  [[nodiscard]] const BenchClip& clip();

 private:
  /** Removed even when the server cannot be set up in it. */
  struct OwnRoot {
    explicit OwnRoot(const StorageRoot& below);
    OwnRoot(const OwnRoot&) = delete;
    OwnRoot& operator=(const OwnRoot&) = delete;
    ~OwnRoot();

    const StorageRoot root;
  };

  HostContext& context_;
  const OwnRoot own_;
  const bool shortForm_;
  const StopSignal stop_;
  std::unique_ptr<BenchClip> clip_;
};

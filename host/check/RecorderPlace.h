#pragma once

#include <string>

#include "host/CommonOptions.h"
#include "host/HostContext.h"

/**
 * Where a recorder has its files and its tables, whichever of the two are left.
 *
 * Threads: the main thread. Errors: throws a HostError when there is nothing of the recorder.
 */
class RecorderPlace {
 public:
  RecorderPlace(const StorageRoot& root, const RecorderName& name);

  [[nodiscard]] const std::string& directory() const { return directory_; }
  /** The name of its database. */
  [[nodiscard]] const std::string& database() const { return database_; }
  /** Whether it has a directory of its own. */
  [[nodiscard]] bool hasDirectory() const;
  /** Its database; null when that is gone and files are left. Makes nothing. */
  [[nodiscard]] KTR_DB_handle* open(HostContext& context, const CommonOptions& options) const;

 private:
  StorageRoot root_;
  RecorderName name_;
  std::string directory_;
  std::string database_;
};

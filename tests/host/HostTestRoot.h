#pragma once

#include <string>

#include "host/input/StorageRoot.h"
#include "host/server/ServerPaths.h"

/**
 * A storage root of its own for each case, whose private server, if any is left, ends with it.
 *
 * The client library looks for its option files once in a process, so those cases that connect
 * through the storage library share one root instead: see shared().
 */
class HostTestRoot {
 public:
  HostTestRoot();
  HostTestRoot(const HostTestRoot&) = delete;
  HostTestRoot& operator=(const HostTestRoot&) = delete;
  ~HostTestRoot();

  /** The root that the client library of this process is pointed at, from its load on. */
  [[nodiscard]] static const HostTestRoot& shared();

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] StorageRoot root() const { return StorageRoot::parse(path_); }
  [[nodiscard]] ServerPaths paths() const { return ServerPaths(root()); }

 private:
  std::string path_;
};

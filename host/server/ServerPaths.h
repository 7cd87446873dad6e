#pragma once

#include <string>

#include "host/input/StorageRoot.h"

/**
 * Where the private database server of a storage root keeps its things, all in one directory of
 * mode 0700 that belongs to the user who made it.
 *
 * Threads: any thread; does not change.
 * Blocks: prepare() for the file system.
 */
class ServerPaths {
 public:
  /** Longest path that fits into a Unix socket address with its terminator, in bytes. */
  static constexpr size_t MAX_SOCKET_PATH = 107;

  /** Throws a usage error when the socket's path would be too long for a socket. */
  explicit ServerPaths(const StorageRoot& root);

  /** Makes the directory; throws a failure when it cannot, or when it is another user's. */
  void prepare() const;
  /** Whether a server was ever set up here. */
  [[nodiscard]] bool exists() const;

  /** The storage root, for messages. */
  [[nodiscard]] const std::string& root() const { return root_; }
  [[nodiscard]] const std::string& directory() const { return directory_; }
  [[nodiscard]] std::string dataDirectory() const { return directory_ + "/data"; }
  /**
   * For temporary tables. A server that starts deletes all such tables that it finds in its place
   * for them, so no two servers may share one.
   */
  [[nodiscard]] std::string temporaryDirectory() const { return directory_ + "/tmp"; }
  [[nodiscard]] std::string optionFile() const { return directory_ + "/my.cnf"; }
  [[nodiscard]] std::string socket() const { return directory_ + "/server.sock"; }
  [[nodiscard]] std::string pidFile() const { return directory_ + "/server.pid"; }
  [[nodiscard]] std::string errorLog() const { return directory_ + "/server.log"; }
  /** Output of setting up the data directory, kept when that fails. */
  [[nodiscard]] std::string setupLog() const { return directory_ + "/setup.log"; }
  /** Locked by whoever starts or stops the server. */
  [[nodiscard]] std::string startLock() const { return directory_ + "/start.lock"; }
  /** Locked, shared, by every command that uses the server. */
  [[nodiscard]] std::string usersLock() const { return directory_ + "/users.lock"; }
  /** There while a server that was started by hand is to keep running without users. */
  [[nodiscard]] std::string keepMark() const { return directory_ + "/keep"; }

 private:
  std::string root_;
  std::string directory_;
};

#pragma once

#include <optional>
#include <utility>

#include "host/server/PrivateServer.h"
#include "host/system/FileLock.h"

/**
 * The right of a command to use the private server: it runs for as long as anybody has a lease.
 *
 * A lease is a shared lock on one file. Whoever gives a lease back tries, while nobody can start
 * or stop the server, to lock that file alone: who succeeds was the last, and stops the server
 * unless it was started by hand. The kernel keeps the count, so a command that was killed is
 * never counted, and the next one to end finds out.
 *
 * Owns: the lock; release() or the destructor gives it back.
 * Threads: one thread at a time for each object.
 * Blocks: both ways, while another command starts or stops the server.
 * Errors: acquire() throws a failure that says why there is no server. Release keeps quiet but for
 * a log line: a command that has done its work does not fail for a server that is slow to end.
 */
class ServerLease {
 public:
  /** Brings the server up if need be; it takes connections on return. */
  [[nodiscard]] static ServerLease acquire(const ServerPaths& paths,
                                           PrivateServer::Limit limit = PrivateServer::START_LIMIT);

  ServerLease(const ServerLease&) = delete;
  ServerLease& operator=(const ServerLease&) = delete;
  ServerLease(ServerLease&& other) noexcept
      : server_(std::move(other.server_)), users_(std::exchange(other.users_, std::nullopt)) {}
  ServerLease& operator=(ServerLease&&) = delete;
  ~ServerLease();

  /** Gives the lease back; the last one stops the server. */
  void release();

 private:
  ServerLease(ServerPaths paths, FileLock users)
      : server_(std::move(paths)), users_(std::move(users)) {}

  PrivateServer server_;
  std::optional<FileLock> users_;
};

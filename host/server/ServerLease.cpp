#include "host/server/ServerLease.h"

#include "host/HostError.h"
#include "runtime/KTLogger.h"

ServerLease ServerLease::acquire(const ServerPaths& paths, PrivateServer::Limit limit) {
  paths.prepare();
  FileLock start(paths.startLock());
  start.lock(FileLock::Exclusive);
  FileLock users(paths.usersLock());
  users.lock(FileLock::Shared);  // locked alone only by who holds the start lock
  ServerLease lease(paths, std::move(users));
  try {
    lease.server_.start(limit);
  } catch (...) {
    lease.users_.reset();  // there is no server to stop, and the start lock is held here
    throw;
  }
  return lease;
}

ServerLease::~ServerLease() {
  release();
}

void ServerLease::release() try {
  if (!users_) return;
  FileLock users = std::move(*users_);
  users_.reset();
  FileLock start(server_.paths().startLock());
  start.lock(FileLock::Exclusive);
  if (users.tryLock(FileLock::Exclusive) && !server_.startedByHand()) server_.stop();
} catch (const HostError& error) {
  KTLogger::instance()->log(KTLogger::Warning, "%s", error.what());
}

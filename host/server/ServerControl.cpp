#include "host/server/ServerControl.h"

#include "host/HostError.h"
#include "host/system/FileLock.h"

namespace {

std::string listed(const std::vector<ServerStatus::User>& users) {
  std::string text;
  for (const ServerStatus::User& user : users) {
    text += (text.empty() ? "" : ", ") + std::to_string(user.pid) + " (" + user.command + ")";
  }
  return text.empty() ? "of another user or container" : text;
}

}  // namespace

ServerControl::Result ServerControl::start() {
  server_.paths().prepare();
  FileLock start(server_.paths().startLock());
  start.lock(FileLock::Exclusive);
  const bool ran = server_.process().has_value();
  server_.start();
  server_.markStartedByHand(true);
  return ran ? AsItWas : Changed;
}

ServerControl::Result ServerControl::stop(bool force) {
  if (!server_.paths().exists()) return AsItWas;
  server_.paths().prepare();
  FileLock start(server_.paths().startLock());
  start.lock(FileLock::Exclusive);
  if (!force) refuseWhileUsed();
  server_.markStartedByHand(false);
  if (!server_.process()) return AsItWas;
  server_.stop();
  return Changed;
}

void ServerControl::refuseWhileUsed() const {
  {
    FileLock users(server_.paths().usersLock());
    if (users.tryLock(FileLock::Exclusive)) return;
  }
  throw failure("the private database server is in use by process " + listed(server_.users()),
                "end that command first, or stop the server all the same with --force");
}

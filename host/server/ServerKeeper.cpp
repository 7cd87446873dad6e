#include "host/server/ServerKeeper.h"

#include <unistd.h>

#include <algorithm>

#include "host/HostError.h"
#include "host/system/FileLock.h"
#include "host/system/MysqlThread.h"
#include "runtime/KTLogger.h"

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr milliseconds LOOK(200);
constexpr KTClock::Span FIRST_PAUSE = seconds(1);
constexpr KTClock::Span LONGEST_PAUSE = seconds(30);

}  // namespace

ServerKeeper::ServerKeeper(const ServerPaths& paths) : server_(paths), thread_([this] { run(); }) {}

ServerKeeper::~ServerKeeper() {
  {
    const std::lock_guard guard(mutex_);
    stop_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void ServerKeeper::run() {
  const MysqlThread mysql;
  std::unique_lock lock(mutex_);
  while (!stop_) {
    lock.unlock();
    look();
    lock.lock();
    if (!stop_) changed_.wait_for(lock, LOOK);
  }
}

void ServerKeeper::look() {
  const KTClock::Span now = KTClock::instance()->elapsed();
  if (now < nextTry_ || !hasDied()) return;
  if (now - started_ > STEADY) pause_ = KTClock::Span(0);
  pause_ = std::clamp(2 * pause_, FIRST_PAUSE, LONGEST_PAUSE);
  nextTry_ = now + pause_;
  restart();
}

// A server removes its pid file when it ends in good order.
bool ServerKeeper::hasDied() const {
  return access(server_.paths().pidFile().c_str(), F_OK) == 0 && !server_.process();
}

void ServerKeeper::restart() try {
  FileLock start(server_.paths().startLock());
  start.lock(FileLock::Exclusive);
  if (!hasDied()) return;
  KTLogger::instance()->log(
      KTLogger::Warning, "the private database server has ended: it is started again, see %s.old",
      server_.paths().errorLog().c_str());
  server_.start();
  started_ = KTClock::instance()->elapsed();
  KTLogger::instance()->log(KTLogger::Warning, "the private database server runs again");
} catch (const HostError& error) {
  KTLogger::instance()->log(KTLogger::Warning, "%s; trying again in %d s", error.what(),
                            static_cast<int>(std::chrono::duration_cast<seconds>(pause_).count()));
}

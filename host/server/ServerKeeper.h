#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "host/server/PrivateServer.h"
#include "runtime/KTClock.h"

/**
 * Keeps the private server of a long-running command alive: one that was killed or has crashed is
 * started again, after a growing pause when it does not stay up. A server that was stopped in good
 * order, with `ktr server stop --force`, stays stopped: that is what was asked for.
 *
 * Owns: its thread; the command has a lease on the server.
 * Threads: made and destroyed by one thread.
 * Blocks: the destructor while a server is being started.
 * Errors: a warning in the log for each server that has ended, and for each that does not start.
 */
class ServerKeeper {
 public:
  /** A server that has run so long has recovered: the next start is not delayed. */
  static constexpr KTClock::Span STEADY = std::chrono::seconds(60);

  explicit ServerKeeper(const ServerPaths& paths);
  ServerKeeper(const ServerKeeper&) = delete;
  ServerKeeper& operator=(const ServerKeeper&) = delete;
  ~ServerKeeper();

 private:
  void run();
  void look();
  void restart();
  [[nodiscard]] bool hasDied() const;

  const PrivateServer server_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stop_ = false;
  KTClock::Span pause_{0};
  KTClock::Span nextTry_{0};
  KTClock::Span started_{0};
  std::thread thread_;
};

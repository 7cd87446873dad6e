#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/server/ServerPaths.h"
#include "host/system/OtherProcess.h"

/** What `ktr server status` tells of a private server. */
struct ServerStatus {
  struct User {
    pid_t pid = 0;
    std::string command;
  };

  bool running = false;
  pid_t pid = 0;
  std::string socket;
  std::string version;     ///< empty when it does not answer
  long uptimeSeconds = 0;  ///< 0 when it does not answer
  unsigned long dataBytes = 0;
  bool startedByHand = false;
  std::vector<User> users;  ///< commands that use it now
};

/**
 * The MariaDB server that ktr runs for itself under a storage root when no other is named: reached
 * through a socket by the user who runs ktr, set up on first use, gone when nobody uses it.
 *
 * The operations that change something need the start lock of the paths, which serialises all
 * commands of all processes: see ServerLease and ServerControl.
 *
 * Owns: nothing; the server is a process of its own, found through its pid file and checked by its
 * command line, so that the files that a dead one leaves behind mislead nobody.
 * Threads: one thread at a time for each object.
 * Blocks: start() until the server answers, stop() until it has ended.
 * Errors: throws a failure whose text ends with the last lines of the server's log.
 */
class PrivateServer {
 public:
  using Limit = std::chrono::milliseconds;
  /** Long enough for the repair that a server may do after a power failure. */
  static constexpr Limit START_LIMIT = std::chrono::seconds(60);
  static constexpr Limit STOP_LIMIT = std::chrono::seconds(60);

  explicit PrivateServer(ServerPaths paths) : paths_(std::move(paths)) {}

  /** The server process; nothing when there is none, or only what a dead one has left. */
  [[nodiscard]] std::optional<OtherProcess> process() const;
  /** Whether it takes a connection now. */
  [[nodiscard]] bool answers() const;

  /** Brings the server up, setting it up first when it never ran; done when it answers. */
  void start(Limit limit = START_LIMIT) const;
  /** Ends the server and waits for that; does nothing when it does not run. */
  void stop(Limit limit = STOP_LIMIT) const;

  /** Whether it is to run on without users. */
  [[nodiscard]] bool startedByHand() const;
  void markStartedByHand(bool byHand) const;

  /** The commands that use the server now, this process included when it does. */
  [[nodiscard]] std::vector<ServerStatus::User> users() const;
  /** All there is to know; starts nothing and keeps nothing alive. */
  [[nodiscard]] ServerStatus status() const;

  [[nodiscard]] const ServerPaths& paths() const { return paths_; }

 private:
  void setUp() const;
  [[nodiscard]] OtherProcess launch() const;
  void awaitAnswer(const OtherProcess& server, Limit limit) const;
  [[noreturn]] void failToStart(const std::string& why) const;

  ServerPaths paths_;
};

#pragma once

#include "host/server/PrivateServer.h"

/**
 * Starting and stopping the private server by hand.
 *
 * Threads: one thread at a time for each object.
 * Blocks: while another command starts or stops the server, and for the server.
 * Errors: throws a failure that says what stands in the way.
 */
class ServerControl {
 public:
  enum Result { Changed, AsItWas };

  explicit ServerControl(const ServerPaths& paths) : server_(paths) {}

  /** Starts the server, to run until it is stopped by hand; AsItWas when it ran already. */
  Result start();
  /**
   * Stops the server; AsItWas when it did not run. Refused, with the names of who is in the way,
   * while a command uses it, unless force is set.
   */
  Result stop(bool force);

  [[nodiscard]] ServerStatus status() const { return server_.status(); }

 private:
  void refuseWhileUsed() const;

  PrivateServer server_;
};

#pragma once

#include <string>
#include <vector>

#include "host/server/ServerConnection.h"

/** One setting that matters to a recorder, as the server has it. */
struct ServerSetting {
  std::string name;
  std::string value;
  std::string advice;  ///< what to change and why; empty when all is well
};

/**
 * Looks whether a server that belongs to the host, reached through the client option files, is set
 * so that recorders run well on it.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 */
class ClientServerCheck {
 public:
  /** The connection must be open and stay so. */
  explicit ClientServerCheck(ServerConnection& connection) : connection_(connection) {}

  [[nodiscard]] std::vector<ServerSetting> settings();

 private:
  [[nodiscard]] ServerSetting waitTimeout();
  [[nodiscard]] ServerSetting lockWaitTimeout();
  [[nodiscard]] ServerSetting sqlMode();
  [[nodiscard]] ServerSetting maxAllowedPacket();
  [[nodiscard]] ServerSetting innodb();
  [[nodiscard]] ServerSetting connectTimeout();

  ServerConnection& connection_;
};

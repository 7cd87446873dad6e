#pragma once

#include <mysql.h>

#include <optional>
#include <string>

/**
 * A connection of the host's own to a database server, to see whether it answers and how it is set.
 * All recording and playing goes through the library's connections instead.
 *
 * Owns: the connection.
 * Threads: one thread at a time; not beside threads that use the storage library.
 * Blocks: for the server.
 * Errors: by result; error() has the client library's text.
 */
class ServerConnection {
 public:
  ServerConnection();
  ServerConnection(const ServerConnection&) = delete;
  ServerConnection& operator=(const ServerConnection&) = delete;
  ~ServerConnection();

  /** Connects to the socket of a private server as user. */
  [[nodiscard]] bool connectTo(const std::string& socket, const std::string& user);
  /** Connects as the client option files of this process say. */
  [[nodiscard]] bool connectByOptionFiles();
  [[nodiscard]] const std::string& error() const { return error_; }

  /** Runs a statement that answers no rows. */
  [[nodiscard]] bool run(const std::string& statement);
  /** Column column of the first row; nothing when there is no row, or the value is null. */
  [[nodiscard]] std::optional<std::string> value(const std::string& query, unsigned int column = 0);
  /** The seconds that a connect may take; 0 for no limit. */
  [[nodiscard]] unsigned int connectTimeout();
  /** Where the connection goes: "Localhost via UNIX socket", "db.example via TCP/IP". */
  [[nodiscard]] std::string place();

 private:
  [[nodiscard]] bool connect(const char* user, const char* socket);

  MYSQL mysql_{};
  bool connected_ = false;
  std::string error_;
};

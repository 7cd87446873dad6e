#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/**
 * A private MariaDB server for this test process: unix socket only, in a directory of its own under
 * /tmp, which goes with it at the end of the process. The client library's option files are pointed
 * at it, so that code under test finds it by connecting with the defaults.
 *
 * Owns: the server process, which also ends when the thread that started it does.
 * Threads: the test's main thread.
 * Blocks: until the server answers, or has ended.
 * Errors: an exception that names the cause.
 */
class MariaDbServer {
 public:
  using Row = std::vector<std::string>;

  /** The server that all cases of the process share; it runs when this returns for the first time.
   */
  static MariaDbServer& instance();

  MariaDbServer(const MariaDbServer&) = delete;
  MariaDbServer& operator=(const MariaDbServer&) = delete;
  ~MariaDbServer();

  /** Starts the server unless it runs; data and databases are those of the last run. */
  void start();
  /** Ends the server in good order. */
  void stop();
  /** Ends the server with SIGKILL. */
  void kill();
  void restart();
  /** The server stands still, its sockets open, until resume() or its end. */
  void pause();
  void resume();
  [[nodiscard]] bool running() const { return pid_ > 0; }
  [[nodiscard]] std::string socketPath() const { return dir_ + "/s"; }

  /** Runs a statement on a connection of its own, which is closed again. */
  void exec(const std::string& sql);
  /** As exec(): the rows, a null column as "NULL". */
  std::vector<Row> query(const std::string& sql);
  /** The first column of the first row, or an empty text. */
  std::string value(const std::string& sql);
  /** Makes an empty database; its name. */
  std::string createDatabase();
  /** Drops every database but the server's own. */
  void dropDatabases();

  /**
   * What the server has been sent by others than this object since forgetStatements(), from its
   * general log. The server drops blanks at the ends of a statement; ClientCalls sees them.
   */
  [[nodiscard]] std::vector<std::string> statements() const;
  void forgetStatements();

 private:
  MariaDbServer();
  void install();
  void removeDirectory();
  void writeOptionFile();
  void awaitAnswer();
  void end(int signal);
  [[nodiscard]] std::vector<std::string> serverArguments() const;
  [[nodiscard]] std::string generalLog() const;
  // Not shared: a starting server deletes the temporary tables of every other one it finds there.
  [[nodiscard]] std::string temporaryFiles() const { return dir_ + "/tmp"; }

  std::string dir_;
  std::string user_;  // of the system and, proved by the socket, of the server
  pid_t pid_ = -1;
  bool paused_ = false;
  unsigned int databases_ = 0;
  std::vector<unsigned long> ownConnections_;
  size_t forgottenBytes_ = 0;
};

#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "db/KTR_MYSQL_api.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/MariaDbServer.h"

/**
 * An empty database on the test's own server, a clock that stands at NOW, and everything that was
 * sent and logged. Member connections are closed and databases dropped at the end of a case.
 */
class DatabaseFixture : public testing::Test {
 protected:
  static constexpr long NOW = 1700000000;

  DatabaseFixture();
  ~DatabaseFixture() override;

  /** The library's connection to the case's database, made on first use. */
  MYSQL* connection();
  /** A connection without a default database, on which no table can be found or created. */
  MYSQL* nowhere();
  /** The case's database and a table in it, for the server's own statements. */
  [[nodiscard]] std::string in(const std::string& table) const { return database + "." + table; }

  void forget();
  /** How often a statement was sent since forget(), letter for letter. */
  [[nodiscard]] unsigned int sent(const std::string& statement) const;
  /** How many statements that begin so were sent since forget(). */
  [[nodiscard]] unsigned int sentBeginningWith(const std::string& words) const;

  MariaDbServer& server = MariaDbServer::instance();
  const std::string database = server.createDatabase();
  ManualClock clock{NOW};
  LogCapture log;
  ClientCalls calls;

 private:
  class Connection;
  std::unique_ptr<Connection> connection_;
  std::unique_ptr<Connection> nowhere_;
};

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "db/KTR_MYSQL_api.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/MariaDbServer.h"

/** A connection to an empty database of its own on the real server. */
class DatabaseTest : public testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  DatabaseTest() : database(server.createDatabase()) {
    connection = api.db_connect(database.c_str());
    calls.forget();
    log.clear();
  }

  ~DatabaseTest() override {
    calls.restore();
    api.db_disconnect();
    server.start();
    server.dropDatabases();
  }

  void exec(const std::string& sql) { ASSERT_EQ(api.db_do_query(sql.c_str()), 0) << sql; }

  Texts list(const std::string& sql) {
    KTDLList<KTString> found;
    api.getQueryResultList(found, sql.c_str());
    return texts(found);
  }

  static Texts texts(const KTDLList<KTString>& list) {
    Texts all;
    for (const KTString& text : list) all.emplace_back(text.view());
    return all;
  }

  /** The statements that the connection was given since this was asked last. */
  Texts sent() {
    Texts all = calls.statements();
    calls.forget();
    return all;
  }

  MariaDbServer& server = MariaDbServer::instance();
  const std::string database;
  LogCapture log;
  ClientCalls calls;
  ManualClock clock;
  KTR_MYSQL_api api;
  MYSQL* connection = nullptr;
};

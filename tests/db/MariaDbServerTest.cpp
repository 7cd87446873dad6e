#include "tests/support/MariaDbServer.h"

#include <gtest/gtest.h>

#include "db/KTR_MYSQL_api.h"

class MariaDbServerTest : public testing::Test {
 protected:
  void TearDown() override {
    server.start();
    server.dropDatabases();
  }

  MariaDbServer& server = MariaDbServer::instance();
};

TEST_F(MariaDbServerTest, AnswersQueries) {
  EXPECT_EQ(server.query("SELECT 1, NULL UNION SELECT 2, 'b'"),
            (std::vector<MariaDbServer::Row>{{"1", "NULL"}, {"2", "b"}}));
}

TEST_F(MariaDbServerTest, KeepsWhatWasCommittedWhenItIsKilled) {
  const std::string database = server.createDatabase();
  server.exec("CREATE TABLE " + database + ".t (a INT) ENGINE=InnoDB");
  server.exec("INSERT INTO " + database + ".t VALUES (7)");
  server.kill();
  EXPECT_FALSE(server.running());
  server.start();
  EXPECT_EQ(server.value("SELECT a FROM " + database + ".t"), "7");
}

TEST_F(MariaDbServerTest, RestartsAfterAStop) {
  server.restart();
  EXPECT_EQ(server.value("SELECT 3"), "3");
}

TEST_F(MariaDbServerTest, NamesAFailedStatement) {
  EXPECT_THROW(server.exec("NOT SQL"), std::runtime_error);
}

TEST_F(MariaDbServerTest, EachDatabaseIsNew) {
  EXPECT_NE(server.createDatabase(), server.createDatabase());
}

TEST_F(MariaDbServerTest, ItsOwnStatementsAreNotListed) {
  server.forgetStatements();
  server.exec("SELECT 'own\nstatement'");
  EXPECT_TRUE(server.statements().empty());
}

TEST_F(MariaDbServerTest, ListsWhatOthersSent) {
  KTR_MYSQL_api api;
  api.db_connect("");
  server.forgetStatements();
  api.db_do_query("SET @a = 'one\ntwo'");
  server.exec("SET @b = 1");
  api.db_do_query("SET @c = 3");
  api.db_disconnect();
  EXPECT_EQ(server.statements(), (std::vector<std::string>{"SET @a = 'one\ntwo'", "SET @c = 3"}));
}

// The connection itself: initialising, connecting, and mending what was lost.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

#include "db/KTR_MYSQL_api.h"
#include "runtime/KTCriticalCode.h"
#include "runtime/KTLogger.h"
#include "tests/db/DatabaseTest.h"

using std::chrono::microseconds;
using std::chrono::seconds;
using testing::ElementsAre;

namespace {

// Runs an action within the n-th sleep.
class EventfulClock : public ManualClock {
 public:
  EventfulClock(size_t n, std::function<void()> action) : n_(n), action_(std::move(action)) {}

  void sleep(const KTTimeValue& d) override {
    ManualClock::sleep(d);
    if (sleeps().size() == n_) action_();
  }

 private:
  const size_t n_;
  const std::function<void()> action_;
};

}  // namespace

class KTR_MYSQL_apiConnectionTest : public DatabaseTest {
 protected:
  static std::string number(const KTR_MYSQL_api& object) {
    return std::to_string(static_cast<unsigned int>(reinterpret_cast<uintptr_t>(&object)));
  }

  void killConnection() { server.exec("KILL " + std::to_string(mysql_thread_id(connection))); }

  Texts currentDatabase() { return list("SELECT DATABASE()"); }

  // The server needs a moment to notice that a connection has ended.
  void awaitConnections(const std::string& number) {
    while (server.value("SELECT count(*) FROM information_schema.processlist WHERE "
                        "command <> 'Daemon' AND id <> CONNECTION_ID()") != number) {
    }
  }

  void expectInitFailure(const std::function<void()>& action) {
    log.clear();
    action();
    EXPECT_THAT(log.lines(), ElementsAre(LogLine(128, "mysql_init failed: no memory"),
                                         LogLine(128, "database not initialized !!")));
  }
};

TEST_F(KTR_MYSQL_apiConnectionTest, ReportsAThreadSafeClient) {
  const KTR_MYSQL_api other;
  EXPECT_THAT(
      log.lines(),
      ElementsAre(LogLine(16, "[" + number(other) + "] Mysql Client is COMPILED Thread SAFE ! ")));
}

TEST_F(KTR_MYSQL_apiConnectionTest, ReportsAClientThatIsNotThreadSafe) {
  calls.denyThreadSafety();
  const KTR_MYSQL_api other;
  EXPECT_THAT(log.lines(), ElementsAre(LogLine(
                               128, "[" + number(other) + "] Mysql Client is not Thread SAFE ! ")));
}

TEST_F(KTR_MYSQL_apiConnectionTest, ConstructionDoesNotConnect) {
  const KTR_MYSQL_api other;
  EXPECT_EQ(calls.connects(), 0U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, DestructionLeavesTheConnectionOpen) {
  alignas(KTR_MYSQL_api) unsigned char place[sizeof(KTR_MYSQL_api)];
  auto* const other = new (place) KTR_MYSQL_api;
  MYSQL* const left = other->db_connect("");
  other->~KTR_MYSQL_api();
  EXPECT_EQ(mysql_ping(left), 0);
  mysql_close(left);
}

TEST_F(KTR_MYSQL_apiConnectionTest, IsInitialisedOnFirstUse) {
  KTR_MYSQL_api other;
  log.clear();
  EXPECT_TRUE(other.isDbInitialized());
  EXPECT_TRUE(other.isDbInitialized());
  EXPECT_TRUE(log.lines().empty());
  other.db_disconnect();
}

TEST_F(KTR_MYSQL_apiConnectionTest, EveryOperationReportsThatItCannotInitialise) {
  KTR_MYSQL_api other;
  KTString escaped;
  calls.failInit();
  expectInitFailure([&] { EXPECT_FALSE(other.isDbInitialized()); });
  expectInitFailure([&] { EXPECT_EQ(other.db_connect(database.c_str()), nullptr); });
  expectInitFailure([&] { other.db_disconnect(); });
  expectInitFailure([&] { EXPECT_EQ(other.db_do_query("SELECT 1"), -1); });
  expectInitFailure([&] { EXPECT_EQ(other.getLastInsertedID(connection), 0xFFFFFFFFU); });
  expectInitFailure([&] { EXPECT_EQ(other.insert_row("VALUES (1)", "t", true), -1); });
  expectInitFailure([&] { EXPECT_EQ(other.escape_string(escaped, KTDataBlock(1)), -1); });
  EXPECT_EQ(calls.connects(), 0U);
  EXPECT_TRUE(calls.statements().empty());
}

TEST_F(KTR_MYSQL_apiConnectionTest, TheOwnStructureIsInitialisedWithoutBeingUsed) {
  KTR_MYSQL_api other;
  MYSQL* const own = other._mysql_init();
  EXPECT_NE(own, nullptr);
  mysql_close(own);
  calls.failInit();
  EXPECT_FALSE(other.isDbInitialized());
  log.clear();
  EXPECT_EQ(other._mysql_init(), nullptr);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine(128, "mysql_init failed: no memory")));
}

TEST_F(KTR_MYSQL_apiConnectionTest, ConnectsToADatabaseThroughTheOptionFiles) {
  EXPECT_NE(connection, nullptr);
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, ConnectsWithoutADatabase) {
  KTR_MYSQL_api other;
  EXPECT_NE(other.db_connect(""), nullptr);
  EXPECT_FALSE(other.tb_exists("anything"));
  EXPECT_EQ(other.lastError(), 1046U);  // no database selected
  other.db_disconnect();
}

TEST_F(KTR_MYSQL_apiConnectionTest, ATextIsOneStatementOnly) {
  exec("CREATE TABLE t (a INT)");
  EXPECT_EQ(api.db_do_query("INSERT INTO t VALUES (1); DROP TABLE t"), 1);
  EXPECT_TRUE(api.tb_isempty("t"));
  EXPECT_TRUE(api.tb_exists("t"));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AFailedConnectIsLogged) {
  KTR_MYSQL_api other;
  EXPECT_EQ(other.db_connect("nothing"), nullptr);
  EXPECT_TRUE(log.has(KTLogger::Error, "mysql_real_connect failed: Unknown database 'nothing'!"));
  EXPECT_NE(other.db_connect(database.c_str()), nullptr);
  other.db_disconnect();
}

TEST_F(KTR_MYSQL_apiConnectionTest, DisconnectingEndsTheConnection) {
  api.db_disconnect();
  awaitConnections("0");
  api.db_disconnect();
}

TEST_F(KTR_MYSQL_apiConnectionTest, ADisconnectedObjectConnectsAgain) {
  api.db_disconnect();
  EXPECT_EQ(api.db_connect(database.c_str()), connection);
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AQueryAfterDisconnectingComesBackWithoutADatabase) {
  api.db_disconnect();
  EXPECT_THAT(currentDatabase(), ElementsAre(""));
  EXPECT_TRUE(log.has(KTLogger::Warning, "[ DO QUERY ] success reconnect db [  ]"));
}

TEST_F(KTR_MYSQL_apiConnectionTest, MendsALostConnection) {
  server.restart();
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_THAT(
      log.lines(),
      ElementsAre(LogLine(64,
                          "[ DO QUERY ] [ SET @a = 1 ] first error:2006 Desc:Server has gone "
                          "away"),
                  LogLine(64, "[ DO QUERY ] trying reconnect db [ " + database + " ]"),
                  LogLine(64, "[ DO QUERY ] success reconnect db [ " + database + " ]")));
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(KTR_MYSQL_apiConnectionTest, MendsAKilledConnection) {
  killConnection();
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
  awaitConnections("1");
}

TEST_F(KTR_MYSQL_apiConnectionTest, MendsAConnectionThatAKilledServerLost) {
  server.kill();
  server.start();
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, MendsAConnectionAgainAndAgain) {
  for (int i = 0; i < 3; ++i) {
    killConnection();
    EXPECT_THAT(currentDatabase(), ElementsAre(database));
  }
}

TEST_F(KTR_MYSQL_apiConnectionTest, GivesUpAfterThirtyOneAttempts) {
  server.kill();
  EXPECT_NE(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(calls.connects(), 31U);
  EXPECT_EQ(clock.sleeps().size(), 31U);
  for (const microseconds& pause : clock.sleeps()) {
    EXPECT_GE(pause, seconds(1));
    EXPECT_LT(pause, microseconds(1100000));
  }
}

TEST_F(KTR_MYSQL_apiConnectionTest, ThePausesDifferByUpToATenthOfASecond) {
  server.kill();
  api.db_do_query("SET @a = 1");
  const std::vector<microseconds> pauses = clock.sleeps();
  const auto [shortest, longest] = std::minmax_element(pauses.begin(), pauses.end());
  EXPECT_LT(*shortest, microseconds(1050000));
  EXPECT_GT(*longest, microseconds(1050000));
}

TEST_F(KTR_MYSQL_apiConnectionTest, LogsEachAttemptAndTheEnd) {
  server.stop();
  api.db_do_query("SET @a = 1");
  const std::string error =
      "Can't connect to local server through socket '" + server.socketPath() + "' (2)";
  EXPECT_EQ(log.count(64, "[ DO QUERY ] trying reconnect db [ " + database + " ]"), 31U);
  EXPECT_EQ(log.count(128, "mysql_real_connect failed: " + error + "!"), 31U);
  EXPECT_EQ(log.count(64, "[ DO QUERY ] failed reconnect db [ " + database +
                              " ] Error:2002 Desc:" + error),
            31U);
  EXPECT_EQ(log.lines().back(),
            LogLine(64, "[ DO QUERY ] [ SET @a = 1 ] Error:2002 Desc:" + error));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AnAbsentServersReturnIsFoundByALaterQuery) {
  server.kill();
  EXPECT_NE(api.db_do_query("SET @a = 1"), 0);
  EXPECT_NE(api.db_do_query("SET @a = 1"), 0);
  server.start();
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AConnectionThatFoundNoMemoryComesBackToItsDatabase) {
  killConnection();
  calls.failInit();
  EXPECT_NE(api.db_do_query("SET @a = 1"), 0);
  calls.restore();
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AServerMayReturnWithinTheAttempts) {
  const EventfulClock eventful(3, [&] { server.start(); });
  server.kill();
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(log.countContaining("[ DO QUERY ] failed reconnect"), 3U);
  EXPECT_EQ(log.countContaining("[ DO QUERY ] success reconnect"), 1U);
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
}

TEST_F(KTR_MYSQL_apiConnectionTest, AServerMayReturnForTheLastAttempt) {
  const EventfulClock eventful(30, [&] { server.start(); });
  server.kill();
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
  EXPECT_EQ(log.countContaining("[ DO QUERY ] failed reconnect"), 30U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, AnErrorThatLeavesTheSocketOpenIsMendedToo) {
  calls.failNextStatements({2008});
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(calls.connects(), 1U);
  EXPECT_THAT(currentDatabase(), ElementsAre(database));
  awaitConnections("1");
}

TEST_F(KTR_MYSQL_apiConnectionTest, TheErrorsFrom2000To2013Reconnect) {
  for (const unsigned int error : {2000U, 2006U, 2013U}) {
    calls.forget();
    calls.failNextStatements({error});
    EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
    EXPECT_EQ(calls.connects(), 1U) << error;
  }
}

TEST_F(KTR_MYSQL_apiConnectionTest, TheErrorsAroundThoseDoNot) {
  for (const unsigned int error : {1999U, 2014U}) {
    calls.failNextStatements({error});
    EXPECT_EQ(api.db_do_query("SET @a = 1"), -1);
    EXPECT_EQ(calls.connects(), 0U) << error;
    EXPECT_TRUE(log.has(
        64, "[ DO QUERY ] [ SET @a = 1 ] Error:" + std::to_string(error) + " Desc:injected"));
  }
}

TEST_F(KTR_MYSQL_apiConnectionTest, AFailureAfterReconnectingAnswersTheFirstResult) {
  calls.failNextStatements({2013});
  EXPECT_EQ(api.db_do_query("SELECT nothing"), -1);
  EXPECT_EQ(log.lines().back().second.find("[ DO QUERY ] [ SELECT nothing ] Error:1054 Desc:"), 0U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, ADuplicateKeyAfterReconnectingCountsAsSuccess) {
  exec("CREATE TABLE t (a INT PRIMARY KEY)");
  exec("INSERT INTO t VALUES (1)");
  calls.failNextStatements({2013});
  EXPECT_EQ(api.db_do_query("INSERT INTO t VALUES (1)"), 0);
  EXPECT_EQ(api.lastError(), 1062U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, ALockWaitIsTriedThreeTimes) {
  exec("CREATE TABLE t (a INT PRIMARY KEY) ENGINE=InnoDB");
  exec("INSERT INTO t VALUES (1)");
  KTR_MYSQL_api holder;
  holder.db_connect(database.c_str());
  holder.db_do_query("BEGIN");
  holder.db_do_query("UPDATE t SET a = 2");
  exec("SET innodb_lock_wait_timeout = 1");
  calls.forget();
  EXPECT_EQ(api.db_do_query("DELETE FROM t"), 1);
  EXPECT_THAT(sent(), ElementsAre("DELETE FROM t", "DELETE FROM t", "DELETE FROM t"));
  EXPECT_THAT(log.lines().back(),
              LogLine(64,
                      "[ DO QUERY ] [ DELETE FROM t ] Error:1205 Desc:Lock wait timeout "
                      "exceeded; try restarting transaction"));
  EXPECT_EQ(calls.connects(), 0U);
  EXPECT_TRUE(clock.sleeps().empty());
  holder.db_disconnect();
}

TEST_F(KTR_MYSQL_apiConnectionTest, ALockWaitMayEndBeforeTheThirdTry) {
  calls.failNextStatements({1205});
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(sent().size(), 2U);
  calls.failNextStatements({1205, 1205});
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(sent().size(), 3U);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTR_MYSQL_apiConnectionTest, ALockWaitMayEndInADuplicateOrALostConnection) {
  calls.failNextStatements({1205, 1062});
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(sent().size(), 2U);
  calls.failNextStatements({1205, 2006});
  EXPECT_EQ(api.db_do_query("SET @a = 1"), 0);
  EXPECT_EQ(calls.connects(), 1U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, ThreadsShareAConnection) {
  exec("CREATE TABLE t (a INT UNSIGNED AUTO_INCREMENT PRIMARY KEY)");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      mysql_thread_init();
      for (int n = 0; n < 25; ++n) {
        EXPECT_GT(api.insert_row("VALUES (NULL)", "t", true), 0);
        EXPECT_GT(api.tb_rownum("t"), 0U);
      }
      mysql_thread_end();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(api.tb_rownum("t"), 100U);
}

TEST_F(KTR_MYSQL_apiConnectionTest, TheMutexIsHeldThroughTheAttempts) {
  std::unique_ptr<std::thread> other;
  bool othersTurn = false;
  const EventfulClock eventful(1, [&] {
    other = std::make_unique<std::thread>([&] {
      const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
      othersTurn = true;  // a race, for the thread sanitizer to see, unless the mutex is held
    });
    server.start();
    EXPECT_FALSE(othersTurn);
  });
  server.kill();
  api.db_do_query("SET @a = 1");
  other->join();
  EXPECT_TRUE(othersTurn);
}

TEST_F(KTR_MYSQL_apiConnectionTest, TheMutexMayBeHeldAroundOperations) {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  EXPECT_EQ(api.create_tb("t", "a INT"), 0);
  EXPECT_EQ(api.insert_row("VALUES (1)", "t", true), 0);
  EXPECT_EQ(api.tb_rownum("t"), 1U);
}

#include "db/KTR_MYSQL_api.h"

#include <gmock/gmock.h>

#include "db/KTROwnedResult.h"
#include "runtime/KTLogger.h"
#include "tests/db/DatabaseTest.h"

using testing::Contains;
using testing::ElementsAre;

class KTR_MYSQL_apiTest : public DatabaseTest {
 protected:
  void createNumbers() {
    exec("CREATE TABLE numbers (id INT UNSIGNED AUTO_INCREMENT PRIMARY KEY, n INT UNIQUE)");
    calls.forget();
  }

  int insert(int n, bool wantId) {
    return api.insert_row(KTString().format("(n) VALUES (%d)", n), "numbers", wantId);
  }
};

TEST_F(KTR_MYSQL_apiTest, SendsTheInsert) {
  createNumbers();
  EXPECT_EQ(insert(7, false), 0);
  EXPECT_THAT(sent(), ElementsAre("INSERT INTO numbers (n) VALUES (7)"));
  EXPECT_THAT(list("SELECT n FROM numbers"), ElementsAre("7"));
}

TEST_F(KTR_MYSQL_apiTest, AnInsertTellsTheNewId) {
  createNumbers();
  EXPECT_EQ(insert(7, true), 1);
  EXPECT_EQ(insert(8, true), 2);
  EXPECT_EQ(api.getLastInsertedID(connection), 2U);
}

TEST_F(KTR_MYSQL_apiTest, AFailedInsertTellsNoId) {
  EXPECT_EQ(insert(7, true), -1);
  EXPECT_EQ(insert(7, false), 1);
}

TEST_F(KTR_MYSQL_apiTest, ADuplicateKeyCountsAsSuccess) {
  createNumbers();
  insert(7, true);
  insert(8, true);
  EXPECT_EQ(insert(7, false), 0);
  EXPECT_EQ(insert(7, true), 2);  // an earlier insert's, not the existing row's 1
  EXPECT_THAT(list("SELECT count(*) FROM numbers"), ElementsAre("2"));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTR_MYSQL_apiTest, TheLastErrorTellsADuplicateFromASuccess) {
  createNumbers();
  insert(7, true);
  EXPECT_EQ(api.lastError(), 0U);
  insert(7, true);
  EXPECT_EQ(api.lastError(), 1062U);
}

TEST_F(KTR_MYSQL_apiTest, SendsTheUpdate) {
  createNumbers();
  insert(7, false);
  calls.forget();
  EXPECT_EQ(api.update_row(" n=9", " id=1 ", "numbers"), 0);
  EXPECT_THAT(sent(), ElementsAre("UPDATE numbers SET  n=9 WHERE  id=1  "));
  EXPECT_THAT(list("SELECT n FROM numbers"), ElementsAre("9"));
  EXPECT_EQ(api.update_row("n=8", "id=1", "numbers"), 0);
  EXPECT_THAT(sent(), testing::Contains("UPDATE numbers SET n=8 WHERE id=1 "));
}

TEST_F(KTR_MYSQL_apiTest, SendsTheDelete) {
  createNumbers();
  insert(7, false);
  insert(8, false);
  calls.forget();
  EXPECT_EQ(api.delete_row("WHERE n=7", "numbers"), 0);
  EXPECT_THAT(sent(), ElementsAre("DELETE FROM  numbers  WHERE n=7"));
  EXPECT_THAT(list("SELECT n FROM numbers"), ElementsAre("8"));
}

TEST_F(KTR_MYSQL_apiTest, AFailedStatementIsLoggedWithItsText) {
  EXPECT_EQ(api.delete_row("", "nothing"), 1);
  EXPECT_TRUE(
      log.has(KTLogger::Warning, "[ DO QUERY ] [ DELETE FROM  nothing   ] Error:1146 Desc:Table '" +
                                     database + ".nothing' doesn't exist"));
}

TEST_F(KTR_MYSQL_apiTest, ZeroBytesPassInAStatement) {
  exec("CREATE TABLE blobs (b BLOB)");
  const char sql[] = "INSERT INTO blobs VALUES ('a\0b')";
  EXPECT_EQ(api.db_do_query(KTString(sql, sizeof sql - 1)), 0);
  EXPECT_THAT(list("SELECT HEX(b) FROM blobs"), ElementsAre("610062"));
}

TEST_F(KTR_MYSQL_apiTest, EscapedBytesComeBackAsTheyWere) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  exec("CREATE TABLE blobs (b LONGBLOB)");
  KTString escaped;
  const int length = api.escape_string(escaped, KTString(bytes).dataBlock());
  EXPECT_EQ(length, static_cast<int>(escaped.length()));
  EXPECT_EQ(api.insert_row(KTString("VALUES ('") + escaped + "')", "blobs", false), 0);

  KTROwnedResult r;
  char** row = nullptr;
  ASSERT_TRUE(api.get_row("SELECT b FROM blobs", row, r, 0));
  EXPECT_EQ(std::string(row[0], api.fetch_lengths(r)[0]), bytes);
}

TEST_F(KTR_MYSQL_apiTest, NothingEscapedIsNothing) {
  KTString escaped("former");
  EXPECT_EQ(api.escape_string(escaped, KTDataBlock(0)), 0);
  EXPECT_TRUE(escaped.empty());
}

TEST_F(KTR_MYSQL_apiTest, ALockKeepsOthersOut) {
  createNumbers();
  EXPECT_TRUE(api.lock("numbers"));
  EXPECT_THROW(server.exec("SET STATEMENT lock_wait_timeout=0 FOR INSERT INTO " + database +
                           ".numbers VALUES (1, 1)"),
               std::runtime_error);
  EXPECT_TRUE(api.unlock());
  server.exec("INSERT INTO " + database + ".numbers VALUES (1, 1)");
  EXPECT_THAT(sent(), ElementsAre("LOCK TABLES numbers WRITE ", "UNLOCK TABLES"));
}

TEST_F(KTR_MYSQL_apiTest, AFailedLockIsLogged) {
  EXPECT_FALSE(api.lock("nothing"));
  EXPECT_TRUE(log.has(KTLogger::Error, "[ ERROR LOCK_DB ] LOCK TABLES nothing "));
}

TEST_F(KTR_MYSQL_apiTest, AFailedUnlockIsLogged) {
  calls.failNextStatements({1064});
  EXPECT_FALSE(api.unlock());
  EXPECT_TRUE(log.has(KTLogger::Error, "[ UNLOCK_DB ] UNLOCK TABLES "));
}

TEST_F(KTR_MYSQL_apiTest, CreatesADatabaseOnce) {
  EXPECT_EQ(api.create_db("created"), 0);
  EXPECT_EQ(api.create_db("created"), 0);
  EXPECT_EQ(sent().at(0), "CREATE DATABASE IF NOT EXISTS created");
  EXPECT_EQ(server.value("SHOW DATABASES LIKE 'created'"), "created");
}

TEST_F(KTR_MYSQL_apiTest, CreatesATableOnce) {
  EXPECT_EQ(api.create_tb("created", "a INT, b INT"), 0);
  EXPECT_EQ(api.create_tb("created", "c INT"), 0);
  EXPECT_EQ(sent().at(0), "CREATE TABLE IF NOT EXISTS created ( a INT, b INT ) ENGINE = InnoDB ");
  EXPECT_EQ(server.query("SHOW COLUMNS FROM " + database + ".created").size(), 2U);
}

TEST_F(KTR_MYSQL_apiTest, DropsNothingWhenTheLockFails) {
  EXPECT_EQ(api.drop_db(database.c_str()), -1);
  EXPECT_THAT(sent(), ElementsAre("LOCK TABLES " + database + " WRITE "));
  EXPECT_TRUE(api.db_exists(database.c_str()));
}

// MariaDB drops no database while tables are locked (1192), so the lock stands in the way.
TEST_F(KTR_MYSQL_apiTest, DropsUnderALockOnTheNameAndTellsTheServersAnswer) {
  exec("CREATE TABLE victim (a INT)");
  exec("CREATE DATABASE victim");
  calls.forget();
  EXPECT_EQ(api.drop_db("victim"), 1);
  EXPECT_THAT(sent(), ElementsAre("LOCK TABLES victim WRITE ", "DROP DATABASE IF EXISTS  victim ",
                                  "UNLOCK TABLES"));
  EXPECT_EQ(log.countContaining("[ DO QUERY ] [ DROP DATABASE IF EXISTS  victim  ] Error:1192 "),
            1U);
  EXPECT_TRUE(api.db_exists("victim"));
}

TEST_F(KTR_MYSQL_apiTest, KnowsWhichDatabasesExist) {
  EXPECT_TRUE(api.db_exists(database.c_str()));
  EXPECT_FALSE(api.db_exists("nothing"));
  EXPECT_THAT(sent(), ElementsAre("SHOW DATABASES LIKE '" + database + "' ",
                                  "SHOW DATABASES LIKE 'nothing' "));
}

TEST_F(KTR_MYSQL_apiTest, KnowsWhichTablesExist) {
  createNumbers();
  EXPECT_TRUE(api.tb_exists("numbers"));
  EXPECT_FALSE(api.tb_exists("nothing"));
  EXPECT_THAT(sent(), ElementsAre("SHOW TABLE STATUS LIKE 'numbers' ",
                                  "SHOW TABLE STATUS LIKE 'nothing' "));
}

TEST_F(KTR_MYSQL_apiTest, CountsTheRowsOfATable) {
  createNumbers();
  EXPECT_TRUE(api.tb_isempty("numbers"));
  insert(7, false);
  insert(8, false);
  calls.forget();
  EXPECT_EQ(api.tb_rownum("numbers"), 2U);
  EXPECT_EQ(api.tb_rownum("numbers", "WHERE n=7"), 1U);
  EXPECT_FALSE(api.tb_isempty("numbers"));
  EXPECT_THAT(sent(),
              ElementsAre("SELECT count(*) FROM numbers", "SELECT count(*) FROM numbers WHERE n=7 ",
                          "SELECT count(*) FROM numbers"));
}

TEST_F(KTR_MYSQL_apiTest, AMissingTableCountsAsEmpty) {
  EXPECT_EQ(api.tb_rownum("nothing"), 0U);
  EXPECT_EQ(api.tb_rownum("nothing", "WHERE n=7"), 0U);
  EXPECT_TRUE(api.tb_isempty("nothing"));
}

TEST_F(KTR_MYSQL_apiTest, ListsTables) {
  exec("CREATE TABLE alpha (a INT)");
  exec("CREATE TABLE beta (a INT)");
  calls.forget();
  KTDLList<KTString> all;
  EXPECT_EQ(api.getTbList(all, ""), 2U);
  EXPECT_THAT(texts(all), ElementsAre("alpha", "beta"));
  KTDLList<KTString> some;
  EXPECT_EQ(api.getTbList(some, "b%"), 1U);
  EXPECT_THAT(texts(some), ElementsAre("beta"));
  EXPECT_THAT(sent(), ElementsAre("SHOW TABLES", "SHOW TABLES LIKE 'b%' "));
}

TEST_F(KTR_MYSQL_apiTest, ListsDatabases) {
  KTDLList<KTString> all;
  EXPECT_EQ(api.getDbList(all, ""), all.count);
  EXPECT_THAT(texts(all), Contains(database));
  EXPECT_THAT(texts(all), Contains("mysql"));
  KTDLList<KTString> some;
  EXPECT_EQ(api.getDbList(some, "case%"), 1U);
  EXPECT_THAT(texts(some), ElementsAre(database));
  EXPECT_THAT(sent(), ElementsAre("SHOW DATABASES", "SHOW DATABASES LIKE 'case%' "));
}

TEST_F(KTR_MYSQL_apiTest, DescribesATable) {
  exec("CREATE TABLE plain (a INT NOT NULL)");
  calls.forget();
  api.describe("plain");
  EXPECT_THAT(sent(), ElementsAre("describe plain"));
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine(16, "Describe Table : plain"), LogLine(16, "Field: "),
                          LogLine(16, "\ta"), LogLine(16, "\tint(11)"), LogLine(16, "\tNO"),
                          LogLine(16, "\t"), LogLine(16, "\tNULL"), LogLine(16, "\t")));
}

TEST_F(KTR_MYSQL_apiTest, AMissingTableHasNoFieldsToDescribe) {
  api.describe("nothing");
  EXPECT_EQ(log.lines().front(), LogLine(16, "Describe Table : nothing"));
  EXPECT_EQ(log.countContaining("Field: "), 0U);
}

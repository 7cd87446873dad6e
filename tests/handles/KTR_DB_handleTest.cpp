#include "handles/KTR_DB_handle.h"

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "tests/support/DatabaseFixture.h"

namespace {

class KTR_DB_handleTest : public DatabaseFixture {
 protected:
  KTR_DB_handle& open(const std::string& name) {
    forget();
    handle_ = std::make_unique<KTR_DB_handle>(KTString(name));
    return *handle_;
  }
  // With the shared index table, as after the first recording.
  KTR_DB_handle& openRecorded() {
    open(database).createDataStreamTable(1000);
    return *handle_;
  }
  void close() { handle_.reset(); }

  unsigned int addSession(const char* storage) {
    KTRRecorderSessionRow row;
    row.start_time = 100;
    row.end_time = 200;
    row.storage = storage;
    return handle_->recordSessionTable()->addRow(row);
  }
  unsigned int safetyLines(int priority, const std::string& text) const {
    unsigned int count = 0;
    for (const LogLine& line : log.lines()) {
      const size_t end = line.second.find("] ");
      if (line.first == priority && end != std::string::npos && line.second.substr(end) == text) {
        ++count;
      }
    }
    return count;
  }

 private:
  std::unique_ptr<KTR_DB_handle> handle_;
};

TEST_F(KTR_DB_handleTest, OpensADatabaseWithItsTables) {
  const KTR_DB_handle& handle = open(database);
  EXPECT_TRUE(handle.isConnected());
  EXPECT_STREQ(handle.getName().c_str(), database.c_str());
  EXPECT_STREQ(handle.recordSessionTable()->name(), "KTRRecordSessionTable");
  EXPECT_STREQ(handle.eventTable()->name(), "KTREventTable");
  EXPECT_STREQ(handle.settingsTable()->name(), "KTRSettingsTable");
  EXPECT_EQ(server.value("SELECT group_concat(table_name ORDER BY table_name) FROM "
                         "information_schema.tables WHERE table_schema='" +
                         database + "'"),
            "eventsList,recordSessions,streamSettings");
}

TEST_F(KTR_DB_handleTest, CreatesItsTablesInOrder) {
  open(database);
  std::vector<std::string> created;
  for (const std::string& statement : calls.statements()) {
    if (statement.rfind("CREATE TABLE IF NOT EXISTS ", 0) == 0) {
      created.push_back(statement.substr(27, statement.find(" (") - 27));
    }
  }
  EXPECT_EQ(created, (std::vector<std::string>{"recordSessions", "eventsList", "streamSettings"}));
}

TEST_F(KTR_DB_handleTest, LogsOnceThatTheClientIsThreadSafe) {
  open(database);
  EXPECT_EQ(safetyLines(16, "] Mysql Client is COMPILED Thread SAFE ! "), 1U);
}

TEST_F(KTR_DB_handleTest, LogsThatTheClientIsNotThreadSafe) {
  calls.denyThreadSafety();
  open(database);
  EXPECT_EQ(safetyLines(128, "] Mysql Client is not Thread SAFE ! "), 1U);
}

TEST_F(KTR_DB_handleTest, LogsThatAConnectionCannotBeInitialised) {
  calls.failInit();
  EXPECT_FALSE(open(database).isConnected());
  EXPECT_EQ(log.count(128, "mysql_init failed: no memory"), 2U);  // tried again to connect
  EXPECT_TRUE(log.has(128, "[ KTR_DB_handle construct failed for " + database + " !]"));
}

TEST_F(KTR_DB_handleTest, LogsAtItsEndThatThereIsNoConnectionToClose) {
  calls.failInit();
  open(database);
  log.clear();
  close();
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{128, "mysql_init failed: no memory"},
                                               {128, "database not initialized !!"}}));
}

TEST_F(KTR_DB_handleTest, WithoutAConnectionThereAreNoTables) {
  const KTR_DB_handle& handle = open("nosuchdatabase");
  EXPECT_TRUE(log.has(128, "[ KTR_DB_handle construct failed for nosuchdatabase !]"));
  EXPECT_FALSE(handle.isConnected());
  EXPECT_TRUE(handle.getName().empty());
  EXPECT_EQ(handle.recordSessionTable(), nullptr);
  EXPECT_EQ(handle.eventTable(), nullptr);
  EXPECT_EQ(handle.settingsTable(), nullptr);
}

TEST_F(KTR_DB_handleTest, WithoutAConnectionEveryOperationAnswersNothingAndSendsNothing) {
  KTR_DB_handle& handle = open("nosuchdatabase");
  EXPECT_EQ(handle.streamInstance(5), nullptr);
  EXPECT_EQ(handle.createDataStreamTable(5), nullptr);
  handle.destroyVideoStream(5);
  handle.dbInfo();
  EXPECT_EQ(handle.getFullPrefixFileName(5), KTString("/record__R5_"));
  EXPECT_FALSE(handle.deleteOlderSlicesOfRecorderSession(5));
  handle.deleteOlderRecordSessionRow(0, 0);
  handle.deleteStreamSession(5);
  handle.deleteAllDataFiles(5);
  EXPECT_FALSE(handle.deleteOlderDay());
  handle.deleteLostData();
  EXPECT_TRUE(calls.statements().empty());
}

TEST_F(KTR_DB_handleTest, AnEventTableThatCannotBeCreatedIsNull) {
  KTR_DB_handle& handle = open("information_schema");
  EXPECT_TRUE(handle.isConnected());
  EXPECT_EQ(handle.eventTable(), nullptr);
  EXPECT_EQ(log.countContaining("[ CREATE_TABLE ] creation failed: table: eventsList res='"), 1U);
  EXPECT_TRUE(log.has(128, "[ KTRSettingsTable constructor ] CREATE TABLE FAILED !!!"));
}

TEST_F(KTR_DB_handleTest, AStreamTableThatCannotBeCreatedIsNotRegistered) {
  KTR_DB_handle& handle = open("information_schema");
  EXPECT_EQ(handle.createDataStreamTable(5), nullptr);
  EXPECT_TRUE(log.has(128, "[ KTRStreamTable constructor failed !!! ] "));
  EXPECT_EQ(handle.streamInstance(5), nullptr);
}

TEST_F(KTR_DB_handleTest, AFreshDatabaseHasNoStreamTables) {
  EXPECT_EQ(open(database).streamInstance(5), nullptr);
  EXPECT_EQ(sent("SHOW TABLE STATUS LIKE 'dataStreams' "), 1U);
}

TEST_F(KTR_DB_handleTest, AStreamTableIsMadeOnceForASession) {
  KTR_DB_handle& handle = openRecorded();
  KTRStreamTable* const five = handle.streamInstance(5);
  ASSERT_NE(five, nullptr);
  EXPECT_EQ(five->sessionID(), 5U);
  EXPECT_NE(handle.streamInstance(6), five);
  forget();
  EXPECT_EQ(handle.streamInstance(5), five);
  EXPECT_TRUE(calls.statements().empty());
}

TEST_F(KTR_DB_handleTest, ADestroyedStreamTableIsMadeAnewAndItsRowsStay) {
  KTR_DB_handle& handle = openRecorded();
  KTRVideoStreamRow row;
  row.setValues(5, 0, 100, 0, 0);
  EXPECT_EQ(handle.streamInstance(5)->addRow(row), 0U);
  handle.destroyVideoStream(5);
  forget();
  ASSERT_NE(handle.streamInstance(5), nullptr);
  EXPECT_EQ(sent("SHOW TABLE STATUS LIKE 'dataStreams' "), 2U);  // looked up, then constructed
  EXPECT_EQ(handle.streamInstance(5)->getOlderKFrameTime(), 100U);
}

TEST_F(KTR_DB_handleTest, DestroyingAnUnknownStreamChangesNothing) {
  KTR_DB_handle& handle = openRecorded();
  KTRStreamTable* const five = handle.streamInstance(5);
  handle.destroyVideoStream(6);
  EXPECT_EQ(handle.streamInstance(5), five);
}

TEST_F(KTR_DB_handleTest, TheFirstRegisteredTableOfASessionIsFound) {
  KTR_DB_handle& handle = openRecorded();
  KTRStreamTable* const first = new KTRStreamTable(5, connection());
  handle.registerVideoStreamTable(first);
  handle.registerVideoStreamTable(nullptr);
  KTRStreamTable* const second = handle.createDataStreamTable(5);
  EXPECT_EQ(handle.streamInstance(5), first);
  handle.destroyVideoStream(5);
  EXPECT_EQ(handle.streamInstance(5), second);
}

TEST_F(KTR_DB_handleTest, ASessionHasNoTableLeftWhenAllOfItsTablesWereDestroyed) {
  KTR_DB_handle& handle = openRecorded();
  KTRStreamTable* const four = handle.createDataStreamTable(4);
  for (const unsigned int id : {5U, 6U, 5U}) (void)handle.createDataStreamTable(id);
  for (int i = 0; i < 3; ++i) handle.destroyVideoStream(5);
  forget();
  EXPECT_EQ(handle.streamInstance(4), four);
  EXPECT_EQ(handle.streamInstance(6)->sessionID(), 6U);
  EXPECT_TRUE(calls.statements().empty());
  EXPECT_EQ(handle.streamInstance(5)->sessionID(), 5U);
  EXPECT_EQ(sent("SHOW TABLE STATUS LIKE 'dataStreams' "), 2U);  // looked up, then constructed
}

TEST_F(KTR_DB_handleTest, ThreadsThatAskForASessionGetOneTable) {
  KTR_DB_handle& handle = openRecorded();
  std::vector<KTRStreamTable*> got(8);
  std::vector<std::thread> threads;
  for (KTRStreamTable*& each : got) {
    threads.emplace_back([&each, &handle] {
      mysql_thread_init();
      each = handle.streamInstance(5);
      mysql_thread_end();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<KTRStreamTable*>(got.begin(), got.end()).size(), 1U);
  EXPECT_NE(got[0], nullptr);
}

TEST_F(KTR_DB_handleTest, NamesTheFilesOfASession) {
  server.exec("CREATE DATABASE db1");
  KTR_DB_handle& handle = open("db1");
  server.exec("ALTER TABLE db1.recordSessions AUTO_INCREMENT=7");
  ASSERT_EQ(addSession("/s"), 7U);
  EXPECT_EQ(handle.getPrefixFileName(7), KTString("record_db1_R7_"));
  EXPECT_EQ(handle.getFullPrefixFileName(7), KTString("/s/record_db1_R7_"));
  EXPECT_EQ(handle.getAudioHeaderFilename(7), KTString("/s/record_db1_R7_audioHeader.dat"));
}

TEST_F(KTR_DB_handleTest, AnUnknownSessionHasNoDirectory) {
  EXPECT_STREQ(open(database).getFullPrefixFileName(9).c_str(),
               ("/record_" + database + "_R9_").c_str());
}

TEST_F(KTR_DB_handleTest, DescribesEveryTableInOrder) {
  KTR_DB_handle& handle = openRecorded();
  forget();
  handle.dbInfo();
  EXPECT_EQ(calls.statements(),
            (std::vector<std::string>{"describe recordSessions", "describe eventsList",
                                      "describe streamSettings", "describe dataStreams"}));
  EXPECT_TRUE(log.has(16, "Describe Table : dataStreams"));
}

TEST_F(KTR_DB_handleTest, TheEndWritesWhatTheRecordSessionTableHoldsBack) {
  KTR_DB_handle& handle = open(database);
  const unsigned int id = addSession("/s");
  handle.recordSessionTable()->updateEndTime(id, 250, 25);
  EXPECT_EQ(server.value("SELECT end_time FROM " + in("recordSessions")), "200");
  close();
  EXPECT_EQ(server.value("SELECT end_time FROM " + in("recordSessions")), "250");
}

TEST_F(KTR_DB_handleTest, TheEndClosesTheConnection) {
  const std::string connections =
      "SELECT count(*) FROM information_schema.processlist WHERE db='" + database + "'";
  open(database);
  EXPECT_EQ(server.value(connections), "1");
  close();
  while (server.value(connections) != "0") std::this_thread::yield();  // the server notices later
}

}  // namespace

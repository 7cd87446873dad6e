#include "handles/KTR_DB_factory.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/DatabaseFixture.h"

namespace {

class KTR_DB_factoryTest : public DatabaseFixture {
 protected:
  std::unique_ptr<KTR_DB_factory> factory = std::make_unique<KTR_DB_factory>();

  KTR_DB_factoryTest() { forget(); }
  ~KTR_DB_factoryTest() override {
    for (KTR_DB_handle* handle : opened_) factory->destroy(handle);
  }

  // The handle is destroyed at the end of the case.
  KTR_DB_handle* keep(KTR_DB_handle* handle) {
    if (handle != nullptr) opened_.insert(handle);
    return handle;
  }
  void letGo(KTR_DB_handle* handle) { opened_.erase(handle); }
  bool exists(const std::string& name) {
    return server.value("SHOW DATABASES LIKE '" + name + "'") == name;
  }
  // The server needs a moment to notice that a connection has ended.
  void awaitConnections(const std::string& number) {
    while (server.value("SELECT count(*) FROM information_schema.processlist WHERE "
                        "command<>'Daemon' AND id<>CONNECTION_ID()") != number) {
      std::this_thread::yield();
    }
  }
  std::vector<std::string> list() {
    KTDLList<KTString> names;
    const unsigned int count = factory->dbList(names);
    EXPECT_EQ(count, names.count);
    std::vector<std::string> texts;
    for (const KTString& name : names) texts.emplace_back(name.c_str());
    return texts;
  }
  static std::string notLoaded(const std::string& name) {
    return "[ db_instance ] '" + name + "' not Exist and not Loaded !";
  }

 private:
  std::set<KTR_DB_handle*> opened_;
};

TEST_F(KTR_DB_factoryTest, TheLastFactoryIsTheInstance) {
  EXPECT_EQ(KTR_DB_factory::instance(), factory.get());
  {
    const KTR_DB_factory second;
    EXPECT_EQ(KTR_DB_factory::instance(), &second);
    EXPECT_EQ(log.countContaining("Mysql Client is COMPILED Thread SAFE ! "), 1U);
  }
  factory = std::make_unique<KTR_DB_factory>();
}

TEST_F(KTR_DB_factoryTest, LogsItsInfo) {
  factory->info();
  EXPECT_TRUE(log.has(16, "DB FACTORY INFO"));
}

TEST_F(KTR_DB_factoryTest, CreatesAndLoadsADatabase) {
  KTR_DB_handle* const handle = keep(factory->createDB("cam1"));
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->getName(), KTString("ktr_cam1"));
  EXPECT_TRUE(handle->isConnected());
  EXPECT_EQ(sent("CREATE DATABASE IF NOT EXISTS ktr_cam1"), 1U);
  EXPECT_TRUE(exists("ktr_cam1"));
}

TEST_F(KTR_DB_factoryTest, CreatingAnExistingDatabaseSendsNoCreate) {
  server.exec("CREATE DATABASE ktr_cam1");
  KTR_DB_handle* const handle = keep(factory->createDB("cam1"));
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(factory->createDB("cam1"), handle);
  EXPECT_EQ(sent("SHOW DATABASES LIKE 'ktr_cam1' "), 3U);  // once more to load it
  EXPECT_EQ(sentBeginningWith("CREATE DATABASE"), 0U);
}

TEST_F(KTR_DB_factoryTest, ADatabaseThatCannotBeCreatedGivesNoHandle) {
  calls.failNextStatements({0, 1105});
  EXPECT_EQ(factory->createDB("cam1"), nullptr);
  EXPECT_FALSE(exists("ktr_cam1"));
}

TEST_F(KTR_DB_factoryTest, LoadsAnExistingDatabaseOnce) {
  server.exec("CREATE DATABASE ktr_cam1");
  KTR_DB_handle* const handle = keep(factory->db_instance("cam1"));
  ASSERT_NE(handle, nullptr);
  forget();
  EXPECT_EQ(factory->db_instance("cam1"), handle);
  EXPECT_EQ(factory->db_instance("ktr_cam1"), handle);
  EXPECT_EQ(factory->dbIsLoaded("cam1"), handle);
  EXPECT_TRUE(calls.statements().empty());
  EXPECT_EQ(calls.connects(), 0U);
}

TEST_F(KTR_DB_factoryTest, AskingWhetherADatabaseIsLoadedLoadsIt) {
  server.exec("CREATE DATABASE ktr_cam1");
  EXPECT_NE(keep(factory->dbIsLoaded("cam1")), nullptr);
}

TEST_F(KTR_DB_factoryTest, ADatabaseThatDoesNotExistIsLogged) {
  EXPECT_EQ(factory->db_instance("cam9"), nullptr);
  EXPECT_EQ(log.count(128, notLoaded("ktr_cam9")), 1U);
  EXPECT_EQ(factory->dbIsLoaded("cam9"), nullptr);
  EXPECT_EQ(log.count(128, notLoaded("ktr_cam9")), 2U);
}

TEST_F(KTR_DB_factoryTest, ADatabaseThatCannotBeOpenedIsNotListed) {
  server.exec("CREATE DATABASE ktr_cam1");
  EXPECT_EQ(factory->db_instance("cam_"), nullptr);  // matches as a pattern, names no database
  EXPECT_TRUE(log.has(128, "[ KTR_DB_handle construct failed for ktr_cam_ !]"));
  EXPECT_TRUE(log.has(128, notLoaded("ktr_cam_")));
}

TEST_F(KTR_DB_factoryTest, ThreadsThatAskForADatabaseGetOneHandle) {
  server.exec("CREATE DATABASE ktr_cam1");
  std::vector<KTR_DB_handle*> got(8);
  std::vector<std::thread> threads;
  for (KTR_DB_handle*& each : got) {
    threads.emplace_back([&each, this] {
      mysql_thread_init();
      each = factory->createDB("cam1");
      mysql_thread_end();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<KTR_DB_handle*>(got.begin(), got.end()).size(), 1U);
  EXPECT_NE(keep(got[0]), nullptr);
}

TEST_F(KTR_DB_factoryTest, LoadingTwiceGivesTwoListedHandles) {
  KTR_DB_handle* const first = keep(factory->loadDB(KTString(database)));
  KTR_DB_handle* const second = keep(factory->loadDB(KTString(database)));
  EXPECT_NE(first, second);
  EXPECT_STREQ(first->getName().c_str(), database.c_str());  // its own name, without a prefix
}

TEST_F(KTR_DB_factoryTest, TheFirstLoadedHandleIsFound) {
  server.exec("CREATE DATABASE ktr_cam1");
  KTR_DB_handle* const first = keep(factory->loadDB("ktr_cam1"));
  KTR_DB_handle* const second = keep(factory->loadDB("ktr_cam1"));
  EXPECT_EQ(factory->db_instance("cam1"), first);
  letGo(first);
  factory->destroy(first);
  EXPECT_EQ(factory->db_instance("cam1"), second);
}

TEST_F(KTR_DB_factoryTest, LoadingAMissingDatabaseListsAHandleWithoutConnection) {
  KTR_DB_handle* const handle = keep(factory->loadDB("nosuchdatabase"));
  ASSERT_NE(handle, nullptr);
  EXPECT_FALSE(handle->isConnected());
}

TEST_F(KTR_DB_factoryTest, AnAddedHandleIsFound) {
  server.exec("CREATE DATABASE ktr_cam1");
  auto* const handle = new KTR_DB_handle("ktr_cam1");
  factory->add(keep(handle));
  EXPECT_EQ(factory->db_instance("cam1"), handle);
}

TEST_F(KTR_DB_factoryTest, AHandleThatIsNotListedIsNotDestroyed) {
  KTR_DB_handle stranger{KTString(database)};
  factory->destroy(&stranger);
  keep(factory->loadDB(KTString(database)));
  factory->destroy(&stranger);
  factory->destroy(nullptr);
  EXPECT_EQ(stranger.recordSessionTable()->getMinStartTime(), -1);
}

TEST_F(KTR_DB_factoryTest, HandlesOutliveTheFactory) {
  std::unique_ptr<KTR_DB_handle> handle(factory->loadDB(KTString(database)));
  factory = std::make_unique<KTR_DB_factory>();
  EXPECT_TRUE(handle->streamInstance(1) == nullptr && handle->isConnected());
}

TEST_F(KTR_DB_factoryTest, TheEndClosesTheConnectionAndKeepsTheInstance) {
  awaitConnections("1");
  const auto former = reinterpret_cast<uintptr_t>(factory.get());
  factory.reset();
  awaitConnections("0");
  EXPECT_EQ(reinterpret_cast<uintptr_t>(KTR_DB_factory::instance()), former);
}

TEST_F(KTR_DB_factoryTest, ListsTheRecorderDatabases) {
  server.exec("CREATE DATABASE ktr_cam1");
  server.exec("CREATE DATABASE ktr_cam2");
  EXPECT_EQ(list(), (std::vector<std::string>{"ktr_cam1", "ktr_cam2"}));
  EXPECT_EQ(sent("SHOW DATABASES LIKE 'ktr_%' "), 1U);
}

TEST_F(KTR_DB_factoryTest, DeletingAMissingDatabaseAnswersFalse) {
  EXPECT_FALSE(factory->deleteDB("cam9"));
  EXPECT_TRUE(log.has(128, notLoaded("ktr_cam9")));
  EXPECT_EQ(sentBeginningWith("DROP"), 0U);
}

TEST_F(KTR_DB_factoryTest, ADatabaseThatCannotBeLockedIsNotDropped) {
  KTR_DB_handle* const handle = keep(factory->createDB("cam1"));
  EXPECT_FALSE(factory->deleteDB("ktr_cam1"));  // its name is no table of a default database
  EXPECT_EQ(sent("LOCK TABLES ktr_cam1 WRITE "), 1U);
  EXPECT_TRUE(exists("ktr_cam1"));
  EXPECT_EQ(factory->db_instance("cam1"), handle);
}

// The server drops nothing while tables are locked, so the lock is lost here on the way.
TEST_F(KTR_DB_factoryTest, DropsADatabaseAndItsHandle) {
  keep(factory->createDB("cam1"));
  letGo(factory->db_instance("cam1"));
  server.exec("CREATE TABLE " + in("ktr_cam1") + " (a INT)");
  factory->db_disconnect();
  factory->db_connect(KTString(database));
  calls.failNextStatements({0, 2013});
  EXPECT_TRUE(factory->deleteDB("ktr_cam1"));
  EXPECT_NE(sent("DROP DATABASE IF EXISTS  ktr_cam1 "), 0U);
  EXPECT_EQ(sent("UNLOCK TABLES"), 1U);
  EXPECT_FALSE(exists("ktr_cam1"));
  EXPECT_EQ(factory->db_instance("cam1"), nullptr);
}

TEST_F(KTR_DB_factoryTest, WithoutMemoryForAConnectionNothingIsDeleted) {
  calls.failInit();
  KTR_DB_factory broken;
  EXPECT_EQ(log.count(128, "mysql_init failed: no memory"), 2U);  // tried again to connect
  EXPECT_TRUE(log.has(128, "Fatal Error CAN't connect to DATABASE !"));
  log.clear();
  EXPECT_FALSE(broken.deleteDB("cam1"));
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{128, "mysql_init failed: no memory"},
                                               {128, "database not initialized !!"}}));
}

TEST_F(KTR_DB_factoryTest, LogsThatTheClientIsNotThreadSafe) {
  calls.denyThreadSafety();
  const KTR_DB_factory other;
  EXPECT_EQ(log.countContaining("] Mysql Client is not Thread SAFE ! "), 1U);
}

TEST_F(KTR_DB_factoryTest, AFactoryWithoutAServerConnectsWhenItIsAsked) {
  server.exec("CREATE DATABASE ktr_cam1");
  server.stop();
  factory = std::make_unique<KTR_DB_factory>();
  EXPECT_TRUE(log.has(128, "Fatal Error CAN't connect to DATABASE !"));
  server.start();
  EXPECT_EQ(list(), (std::vector<std::string>{"ktr_cam1"}));
}

}  // namespace

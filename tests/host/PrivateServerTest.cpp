#include "host/server/PrivateServer.h"

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>

#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "tests/host/HostTestRoot.h"
#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

namespace {

class PrivateServerTest : public testing::Test {
 protected:
  // One root for the suite, set up once: each case finds and leaves the server stopped.
  static void SetUpTestSuite() {
    root_ = std::make_unique<HostTestRoot>();
    root_->paths().prepare();
  }
  static void TearDownTestSuite() { root_.reset(); }
  void TearDown() override { server_.stop(); }

  std::string value(const std::string& query, unsigned int column = 0) {
    ServerConnection connection;
    if (!connection.connectTo(paths_.socket(), OptionFile::currentUser()))
      return connection.error();
    return connection.value(query, column).value_or("");
  }

  void crash() {
    const auto process = server_.process();
    process->signal(SIGKILL);
    ASSERT_TRUE(process->waitForEnd(PrivateServer::STOP_LIMIT));
  }

  static std::unique_ptr<HostTestRoot> root_;
  ServerPaths paths_ = root_->paths();
  PrivateServer server_{paths_};
};

std::unique_ptr<HostTestRoot> PrivateServerTest::root_;

}  // namespace

TEST_F(PrivateServerTest, ComesUpFromAnEmptyDirectory) {
  const HostTestRoot empty;
  empty.paths().prepare();
  const PrivateServer server(empty.paths());
  EXPECT_FALSE(server.process().has_value());
  EXPECT_FALSE(server.answers());
  server.start();
  EXPECT_TRUE(server.answers());
  ASSERT_TRUE(server.process().has_value());
  server.stop();
  EXPECT_FALSE(server.process().has_value());
  EXPECT_FALSE(server.answers());
}

TEST_F(PrivateServerTest, IsSetAsTheOptionFileSays) {
  server_.start();
  EXPECT_EQ("2", value("SELECT @@innodb_flush_log_at_trx_commit"));
  EXPECT_EQ("31536000", value("SELECT @@wait_timeout"));
  EXPECT_EQ("5", value("SELECT @@innodb_lock_wait_timeout"));
  EXPECT_EQ("1", value("SELECT @@skip_networking"));
  EXPECT_EQ("1", value("SELECT @@skip_name_resolve"));
  EXPECT_EQ("0", value("SELECT @@log_bin"));
  EXPECT_EQ("0", value("SELECT @@performance_schema"));
  const std::uint64_t memory = static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                               static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  EXPECT_EQ(std::to_string(OptionFile::bufferPoolMiB(memory)),
            value("SELECT @@innodb_buffer_pool_size DIV 1048576"));
  EXPECT_EQ("100663296", value("SELECT @@innodb_log_file_size"));
  EXPECT_EQ("10", value("SELECT @@global.connect_timeout"));
  EXPECT_THAT(value("SELECT @@sql_mode"), testing::Not(HasSubstr("ONLY_FULL_GROUP_BY")));
  EXPECT_EQ("0", value("SELECT COUNT(*) FROM mysql.db WHERE Db LIKE 'test%'"));
}

TEST_F(PrivateServerTest, KeepsWhatItHolds) {
  server_.start();
  value("CREATE DATABASE ktr_cam");
  server_.stop();
  server_.start();
  EXPECT_EQ("ktr_cam", value("SHOW DATABASES LIKE 'ktr%'"));
}

TEST_F(PrivateServerTest, StartsAgainOverWhatADeadOneLeft) {
  server_.start();
  crash();
  EXPECT_TRUE(std::filesystem::exists(paths_.socket()));
  EXPECT_TRUE(std::filesystem::exists(paths_.pidFile()));
  EXPECT_FALSE(server_.process().has_value());
  server_.start();
  EXPECT_TRUE(server_.answers());
}

TEST_F(PrivateServerTest, IsNotMistakenForAnotherProcessOfItsNumber) {
  std::ofstream(paths_.pidFile()) << getpid() << "\n";
  EXPECT_FALSE(server_.process().has_value());
  server_.stop();  // must not end this process
  for (const char* text : {"", "x", "-1", "0", "99999999999999999999"}) {
    std::ofstream(paths_.pidFile()) << text;
    EXPECT_FALSE(server_.process().has_value()) << text;
  }
}

TEST_F(PrivateServerTest, IsLeftAloneWhenItRuns) {
  server_.start();
  const pid_t pid = server_.process()->pid();
  server_.start();
  EXPECT_EQ(pid, server_.process()->pid());
}

TEST_F(PrivateServerTest, IsOutOfReachOfTheTerminal) {
  server_.start();
  const pid_t pid = server_.process()->pid();
  EXPECT_NE(getsid(0), getsid(pid));
  EXPECT_NE(getpgrp(), getpgid(pid));
}

TEST_F(PrivateServerTest, TellsWhyItDoesNotStart) {
  const HostTestRoot damaged;
  damaged.paths().prepare();
  std::filesystem::create_directories(damaged.paths().dataDirectory());
  EXPECT_THAT(failureOf([&] { return PrivateServer(damaged.paths()).start(), 0; }),
              testing::AllOf(HasSubstr("ended before it was ready"), HasSubstr("[ERROR]"),
                             HasSubstr("see " + damaged.paths().errorLog())));
}

TEST_F(PrivateServerTest, IsNotWaitedForLongerThanTheLimit) {
  server_.start();
  server_.stop();
  EXPECT_THAT(failureOf([&] { return server_.start(PrivateServer::Limit(0)), 0; }),
              HasSubstr("was not ready within 0 s"));
}

TEST_F(PrivateServerTest, ForgetsAnInterruptedSetUp) {
  const HostTestRoot root;
  root.paths().prepare();
  const std::string attempt = root.paths().directory() + "/data.new.1";
  std::filesystem::create_directories(attempt + "/mysql");
  EXPECT_FALSE(root.paths().exists());
  PrivateServer(root.paths()).start();
  EXPECT_TRUE(PrivateServer(root.paths()).answers());
  EXPECT_FALSE(std::filesystem::exists(attempt));
}

TEST_F(PrivateServerTest, TellsItsStatus) {
  EXPECT_FALSE(server_.status().running);
  server_.start();
  const ServerStatus status = server_.status();
  EXPECT_TRUE(status.running);
  EXPECT_EQ(server_.process()->pid(), status.pid);
  EXPECT_EQ(paths_.socket(), status.socket);
  EXPECT_THAT(status.version, HasSubstr("MariaDB"));
  EXPECT_GT(status.dataBytes, 1000000U);
  EXPECT_FALSE(status.startedByHand);
  EXPECT_TRUE(status.users.empty());
}

#include "host/server/ServerLease.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "host/server/ServerControl.h"
#include "tests/host/HostTestRoot.h"
#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

namespace {

class ServerLeaseTest : public testing::Test {
 protected:
  // One root for the suite, set up once: each case finds and leaves the server stopped.
  static void SetUpTestSuite() {
    root_ = std::make_unique<HostTestRoot>();
    const ServerLease setUp = ServerLease::acquire(root_->paths());
  }
  static void TearDownTestSuite() { root_.reset(); }
  void TearDown() override { ServerControl(paths_).stop(true); }

  [[nodiscard]] ServerLease acquire() const { return ServerLease::acquire(paths_); }
  [[nodiscard]] bool isRunning() const { return PrivateServer(paths_).process().has_value(); }

  /** A command that has a lease when this returns, and keeps it until it is killed. */
  [[nodiscard]] pid_t startUser() const {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
      const ServerLease lease = acquire();
      (void)!write(ends[1], "x", 1);
      for (;;) pause();
    }
    close(ends[1]);
    char ready = 0;
    EXPECT_EQ(1, read(ends[0], &ready, 1));
    close(ends[0]);
    return child;
  }

  static void killUser(pid_t user) {
    kill(user, SIGKILL);
    waitpid(user, nullptr, 0);
  }

  static std::unique_ptr<HostTestRoot> root_;
  ServerPaths paths_ = root_->paths();
};

std::unique_ptr<HostTestRoot> ServerLeaseTest::root_;

}  // namespace

TEST_F(ServerLeaseTest, TheServerRunsAsLongAsTheLease) {
  {
    const ServerLease lease = acquire();
    EXPECT_TRUE(PrivateServer(paths_).answers());
  }
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerLeaseTest, TheLastUserStopsTheServer) {
  ServerLease one = acquire();
  ServerLease two = acquire();
  one.release();
  EXPECT_TRUE(PrivateServer(paths_).answers());
  two.release();
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerLeaseTest, MovesToAnotherObject) {
  ServerLease one = acquire();
  {
    const ServerLease two = std::move(one);
    EXPECT_TRUE(isRunning());
  }
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerLeaseTest, AKilledUserIsNotCounted) {
  const pid_t user = startUser();
  ServerLease lease = acquire();
  killUser(user);
  lease.release();
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerLeaseTest, AServerWithoutUsersServesTheNext) {
  const pid_t user = startUser();
  const pid_t server = PrivateServer(paths_).process()->pid();
  killUser(user);
  EXPECT_TRUE(isRunning());
  {
    const ServerLease lease = acquire();
    EXPECT_EQ(server, PrivateServer(paths_).process()->pid());
  }
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerLeaseTest, TheServerOutlivesTheCommandThatStartedIt) {
  const pid_t user = startUser();
  const ServerLease lease = acquire();
  killUser(user);
  EXPECT_TRUE(PrivateServer(paths_).answers());
}

TEST_F(ServerLeaseTest, CommandsStartAtOnceInAnEmptyDirectory) {
  const HostTestRoot root;
  const ServerPaths paths = root.paths();
  pid_t users[4];
  for (pid_t& user : users) {
    user = fork();
    if (user == 0) {
      {
        const ServerLease lease = ServerLease::acquire(paths);
        if (!PrivateServer(paths).answers()) _exit(1);
      }
      _exit(0);
    }
  }
  for (const pid_t user : users) {
    int status = -1;
    waitpid(user, &status, 0);
    EXPECT_EQ(0, status);
  }
  EXPECT_FALSE(PrivateServer(paths).process().has_value());
}

TEST_F(ServerLeaseTest, AServerThatDiedIsStartedAgain) {
  const ServerLease lease = acquire();
  const auto dead = PrivateServer(paths_).process();
  dead->signal(SIGKILL);
  ASSERT_TRUE(dead->waitForEnd(PrivateServer::STOP_LIMIT));
  const ServerLease next = acquire();
  EXPECT_TRUE(PrivateServer(paths_).answers());
}

TEST_F(ServerLeaseTest, AServerStartedByHandStays) {
  ServerControl(paths_).start();
  { const ServerLease lease = acquire(); }
  EXPECT_TRUE(PrivateServer(paths_).answers());
}

TEST_F(ServerLeaseTest, NoLeaseIsLeftWhenTheServerDoesNotStart) {
  const HostTestRoot root;
  const ServerPaths paths = root.paths();
  std::filesystem::create_directories(paths.dataDirectory());
  EXPECT_THAT(failureOf([&] { return ServerLease::acquire(paths); }), HasSubstr("[ERROR]"));
  EXPECT_TRUE(FileLock(paths.usersLock()).tryLock(FileLock::Exclusive));
}

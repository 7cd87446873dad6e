#include "host/server/ServerKeeper.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

#include "host/server/ServerControl.h"
#include "host/server/ServerLease.h"
#include "runtime/KTLogger.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/LogCapture.h"

namespace {

class ServerKeeperTest : public testing::Test {
 protected:
  [[nodiscard]] pid_t pid() const { return server_.process()->pid(); }
  void kill() const {
    const std::optional<OtherProcess> process = server_.process();
    process->signal(SIGKILL);
    (void)process->waitForEnd(std::chrono::seconds(60));
  }
  [[nodiscard]] unsigned int ends() const {
    return log_.count(KTLogger::Warning,
                      "the private database server has ended: it is started again, see " +
                          root_.paths().errorLog() + ".old");
  }
  void awaitRestarts(unsigned int n) const {
    while (log_.count(KTLogger::Warning, "the private database server runs again") < n) {
      std::this_thread::yield();
    }
  }

  LogCapture log_;
  HostTestRoot root_;
  ServerLease lease_ = ServerLease::acquire(root_.paths());
  PrivateServer server_{root_.paths()};
};

}  // namespace

TEST_F(ServerKeeperTest, StartsAServerThatWasKilled) {
  const ServerKeeper keeper(root_.paths());
  const pid_t first = pid();
  kill();
  awaitRestarts(1);
  EXPECT_NE(first, pid());
  EXPECT_TRUE(server_.answers());
  EXPECT_EQ(1U, ends());
}

TEST_F(ServerKeeperTest, StartsItAsOftenAsItDies) {
  const ServerKeeper keeper(root_.paths());
  for (unsigned int i = 1; i <= 2; ++i) {
    kill();
    awaitRestarts(i);
  }
  EXPECT_EQ(2U, ends());
}

TEST_F(ServerKeeperTest, LeavesAServerAloneThatWasStopped) {
  ServerControl(root_.paths()).stop(true);
  {
    const ServerKeeper keeper(root_.paths());
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  EXPECT_EQ(0U, ends());
  EXPECT_FALSE(server_.process().has_value());
}

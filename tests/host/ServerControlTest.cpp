#include "host/server/ServerControl.h"

#include <unistd.h>

#include <filesystem>
#include <memory>

#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/host/UsageErrors.h"

using testing::HasSubstr;

namespace {

class ServerControlTest : public testing::Test {
 protected:
  // One root for the suite, set up once: each case finds and leaves the server stopped.
  static void SetUpTestSuite() {
    root_ = std::make_unique<HostTestRoot>();
    const ServerLease setUp = ServerLease::acquire(root_->paths());
  }
  static void TearDownTestSuite() { root_.reset(); }
  void TearDown() override { control_.stop(true); }

  [[nodiscard]] bool isRunning() const { return PrivateServer(paths_).process().has_value(); }

  static std::unique_ptr<HostTestRoot> root_;
  ServerPaths paths_ = root_->paths();
  ServerControl control_{paths_};
};

std::unique_ptr<HostTestRoot> ServerControlTest::root_;

}  // namespace

TEST_F(ServerControlTest, StartsAndStops) {
  EXPECT_EQ(ServerControl::Changed, control_.start());
  EXPECT_TRUE(control_.status().startedByHand);
  EXPECT_EQ(ServerControl::AsItWas, control_.start());
  EXPECT_EQ(ServerControl::Changed, control_.stop(false));
  EXPECT_FALSE(isRunning());
  EXPECT_FALSE(control_.status().startedByHand);
  EXPECT_EQ(ServerControl::AsItWas, control_.stop(false));
}

TEST_F(ServerControlTest, StoppingWhatNeverWasMakesNothing) {
  const HostTestRoot root;
  EXPECT_EQ(ServerControl::AsItWas, ServerControl(root.paths()).stop(false));
  EXPECT_FALSE(std::filesystem::exists(root.paths().directory()));
}

TEST_F(ServerControlTest, KeepsAServerThatACommandStarted) {
  {
    const ServerLease lease = ServerLease::acquire(paths_);
    EXPECT_EQ(ServerControl::AsItWas, control_.start());
  }
  EXPECT_TRUE(isRunning());
}

TEST_F(ServerControlTest, RefusesToStopAServerInUseAndSaysByWhom) {
  ServerLease lease = ServerLease::acquire(paths_);
  EXPECT_THAT(failureOf([&] { return control_.stop(false); }),
              testing::AllOf(HasSubstr("in use by process " + std::to_string(getpid()) + " ("),
                             HasSubstr("host_tests"), HasSubstr("--force")));
  EXPECT_TRUE(PrivateServer(paths_).answers());
  EXPECT_EQ(getpid(), control_.status().users.at(0).pid);
}

TEST_F(ServerControlTest, ForceStopsAServerInUse) {
  const ServerLease lease = ServerLease::acquire(paths_);
  EXPECT_EQ(ServerControl::Changed, control_.stop(true));
  EXPECT_FALSE(isRunning());
}

TEST_F(ServerControlTest, ARefusedStopKeepsTheMark) {
  control_.start();
  const ServerLease lease = ServerLease::acquire(paths_);
  failureOf([&] { return control_.stop(false); });
  EXPECT_TRUE(control_.status().startedByHand);
}

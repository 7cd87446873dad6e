#include "host/server/ClientServerCheck.h"

#include <gmock/gmock.h>

#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"

using testing::HasSubstr;

namespace {

class ClientServerCheckTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(connection_.connectByOptionFiles()) << connection_.error(); }

  ServerSetting settingAfter(const std::string& change, const std::string& name) {
    (void)connection_.value(change);
    for (const ServerSetting& setting : ClientServerCheck(connection_).settings()) {
      if (setting.name == name) return setting;
    }
    return {};
  }

  ServerLease lease_ = ServerLease::acquire(HostTestRoot::shared().paths());
  ServerConnection connection_;
};

}  // namespace

TEST_F(ClientServerCheckTest, ThePrivateServerIsSetWell) {
  for (const ServerSetting& setting : ClientServerCheck(connection_).settings()) {
    EXPECT_EQ("", setting.advice) << setting.name;
    EXPECT_NE("", setting.value) << setting.name;
  }
}

TEST_F(ClientServerCheckTest, AdvisesAgainstFullGroupBy) {
  const ServerSetting mode =
      settingAfter("SET SESSION sql_mode='STRICT_TRANS_TABLES,ONLY_FULL_GROUP_BY'", "sql_mode");
  EXPECT_THAT(mode.advice, HasSubstr("take ONLY_FULL_GROUP_BY out"));
  EXPECT_THAT(mode.value, HasSubstr("STRICT_TRANS_TABLES"));
}

TEST_F(ClientServerCheckTest, AdvisesAgainstAServerWithoutBackslashes) {
  const ServerSetting mode =
      settingAfter("SET SESSION sql_mode='STRICT_TRANS_TABLES,NO_BACKSLASH_ESCAPES'", "sql_mode");
  EXPECT_THAT(mode.advice, HasSubstr("take NO_BACKSLASH_ESCAPES out"));
}

TEST_F(ClientServerCheckTest, AdvisesALongWait) {
  const ServerSetting wait = settingAfter("SET SESSION wait_timeout=28800", "wait_timeout");
  EXPECT_EQ("28800", wait.value);
  EXPECT_THAT(wait.advice, HasSubstr("wait_timeout = 31536000"));
}

TEST_F(ClientServerCheckTest, AdvisesAShortLockWait) {
  const std::string name = "innodb_lock_wait_timeout";
  EXPECT_THAT(settingAfter("SET SESSION innodb_lock_wait_timeout=50", name).advice,
              HasSubstr("innodb_lock_wait_timeout = 5"));
}

TEST_F(ClientServerCheckTest, AdvisesRoomForLargeEvents) {
  const std::string name = "max_allowed_packet";
  EXPECT_THAT(settingAfter("SET GLOBAL max_allowed_packet=1048576", name).advice,
              HasSubstr("max_allowed_packet = 16M"));
}

TEST_F(ClientServerCheckTest, ShowsTheConnectLimitOfTheOptionFile) {
  EXPECT_EQ("10", settingAfter("", "connect-timeout").value);
}

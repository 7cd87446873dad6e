#include "host/server/ServerConnection.h"

#include <gmock/gmock.h>

#include "host/server/OptionFile.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"

TEST(ServerConnectionTest, ReadsOneValue) {
  const ServerPaths paths = HostTestRoot::shared().paths();
  const ServerLease lease = ServerLease::acquire(paths);
  ServerConnection connection;
  ASSERT_TRUE(connection.connectTo(paths.socket(), OptionFile::currentUser()));
  EXPECT_EQ("1", connection.value("SELECT 1, 2"));
  EXPECT_EQ("2", connection.value("SELECT 1, 2", 1));
  EXPECT_EQ(std::nullopt, connection.value("SELECT 1", 1));
  EXPECT_EQ(std::nullopt, connection.value("SELECT NULL"));
  EXPECT_EQ(std::nullopt, connection.value("SELECT 1 WHERE FALSE"));
  EXPECT_EQ(std::nullopt, connection.value("no SQL"));
  EXPECT_THAT(connection.place(), testing::HasSubstr("socket"));
}

TEST(ServerConnectionTest, TellsWhyItCannotConnect) {
  ServerConnection connection;
  EXPECT_FALSE(connection.connectTo("/nowhere", "nobody"));
  EXPECT_THAT(connection.error(), testing::HasSubstr("/nowhere"));
  EXPECT_EQ(std::nullopt, connection.value("SELECT 1"));
  EXPECT_EQ("", connection.place());
}

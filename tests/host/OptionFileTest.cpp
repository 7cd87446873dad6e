#include "host/server/OptionFile.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/server/ServerConnection.h"
#include "host/server/ServerLease.h"
#include "tests/host/HostTestRoot.h"
#include "tests/support/FileText.h"

using testing::HasSubstr;
using testing::Not;

namespace {

const ServerPaths PATHS(StorageRoot::parse("/srv/video"));

}  // namespace

TEST(OptionFileTest, LeadsClientsToTheSocket) {
  EXPECT_THAT(
      OptionFile::text(PATHS, "ann", false),
      HasSubstr("host = localhost\nprotocol = SOCKET\nsocket = /srv/video/.ktr/server.sock\n"
                "user = ann\npassword =\n"));
}

TEST(OptionFileTest, TellsTheServerOfTheRootUserOnly) {
  EXPECT_THAT(OptionFile::text(PATHS, "root", true), HasSubstr("\nuser = root\n\n# Reached"));
  EXPECT_THAT(OptionFile::text(PATHS, "ann", false), Not(HasSubstr("user = root")));
}

TEST(OptionFileTest, GivesTheServerASmallPartOfTheMemory) {
  constexpr std::uint64_t GIB = 1U << 30;
  EXPECT_EQ(64U, OptionFile::bufferPoolMiB(0));
  EXPECT_EQ(64U, OptionFile::bufferPoolMiB(GIB));
  EXPECT_EQ(128U, OptionFile::bufferPoolMiB(4 * GIB));
  EXPECT_EQ(768U, OptionFile::bufferPoolMiB(24 * GIB));
  EXPECT_EQ(1024U, OptionFile::bufferPoolMiB(1024 * GIB));
}

TEST(OptionFileTest, IsWrittenForTheOwnerOnly) {
  const HostTestRoot root;
  root.paths().prepare();
  const mode_t former = umask(0);
  OptionFile::write(root.paths());
  umask(former);
  struct stat made {};
  ASSERT_EQ(0, stat(root.paths().optionFile().c_str(), &made));
  EXPECT_EQ(0600U, made.st_mode & 07777);
  EXPECT_EQ(OptionFile::text(root.paths(), OptionFile::currentUser(), geteuid() == 0),
            contents(root.paths().optionFile()));
}

TEST(OptionFileTest, TheClientLibraryFindsTheServerThroughIt) {
  const ServerLease lease = ServerLease::acquire(HostTestRoot::shared().paths());
  ServerConnection connection;
  ASSERT_TRUE(connection.connectByOptionFiles()) << connection.error();
  EXPECT_EQ(HostTestRoot::shared().paths().socket(), connection.value("SELECT @@socket"));
  EXPECT_EQ(10U, connection.connectTimeout());
}

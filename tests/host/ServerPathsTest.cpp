#include "host/server/ServerPaths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

using testing::HasSubstr;

namespace {

class ServerPathsTest : public testing::Test {
 protected:
  TempDir dir_;
  ServerPaths paths_{StorageRoot::parse(dir_.path() + "/video")};
};

}  // namespace

TEST_F(ServerPathsTest, MakesADirectoryForTheOwnerOnly) {
  const mode_t former = umask(0);
  paths_.prepare();
  umask(former);
  struct stat made {};
  ASSERT_EQ(0, stat(paths_.directory().c_str(), &made));
  EXPECT_EQ(0700U, made.st_mode & 07777);
  paths_.prepare();
}

TEST_F(ServerPathsTest, RefusesTheDirectoryOfAnotherUser) {
  if (geteuid() == 0) {
    paths_.prepare();
    ASSERT_EQ(0, chown(paths_.directory().c_str(), 65534, 65534));
    EXPECT_THAT(failureOf([&] { return paths_.prepare(), 0; }), HasSubstr("another user (65534)"));
  } else {
    // The root of the machine is another user's, and nobody else may write there.
    EXPECT_THAT(failureOf([] { return ServerPaths(StorageRoot::parse("/usr/ktr")).prepare(), 0; }),
                HasSubstr("cannot make"));
  }
}

TEST_F(ServerPathsTest, RefusesWhatIsNoDirectory) {
  std::filesystem::create_directories(paths_.root());
  std::ofstream(paths_.directory()) << "x";
  EXPECT_THAT(failureOf([&] { return paths_.prepare(), 0; }), HasSubstr("not a directory"));
}

TEST_F(ServerPathsTest, RefusesALinkToADirectory) {
  std::filesystem::create_directories(paths_.root());
  std::filesystem::create_symlink("/tmp", paths_.directory());
  EXPECT_THAT(failureOf([&] { return paths_.prepare(), 0; }), HasSubstr("not a directory"));
}

TEST_F(ServerPathsTest, KnowsTheLongestRoot) {
  const std::string longest = "/" + std::string(89, 'a');
  EXPECT_EQ(ServerPaths::MAX_SOCKET_PATH, ServerPaths(StorageRoot::parse(longest)).socket().size());
  EXPECT_THAT(usageErrorOf([&] { return ServerPaths(StorageRoot::parse(longest + "a")); }),
              HasSubstr("at most 90 bytes, or use --server client"));
}

TEST_F(ServerPathsTest, ExistsOnceADataDirectoryDoes) {
  EXPECT_FALSE(paths_.exists());
  std::filesystem::create_directories(paths_.dataDirectory());
  EXPECT_TRUE(paths_.exists());
}

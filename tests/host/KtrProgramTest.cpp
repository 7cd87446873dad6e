#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/server/OptionFile.h"
#include "host/server/ServerConnection.h"
#include "host/server/ServerLease.h"
#include "tests/host/ProgramFixture.h"

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

namespace {

/** A root with the recorder "cam" that has recorded nothing. */
class KtrProgramTest : public ProgramFixture {
 protected:
  static void SetUpTestSuite() {
    ProgramFixture::SetUpTestSuite();
    const ServerLease lease = ServerLease::acquire(root_->paths());
    ServerConnection connection;
    ASSERT_TRUE(connection.connectTo(root_->paths().socket(), OptionFile::currentUser()));
    (void)connection.value("CREATE DATABASE ktr_cam");
  }
};

}  // namespace

TEST_F(KtrProgramTest, ShowsAnEmptyRecorder) {
  EXPECT_EQ(0, shell("$K sessions --root $R --recorder cam")) << err();
  EXPECT_EQ("Recorder 'cam' has recorded nothing yet.\n", out());
  EXPECT_EQ("", err());
  EXPECT_FALSE(isRunning());
}

TEST_F(KtrProgramTest, NamesTheRecordersThatExist) {
  EXPECT_EQ(1, shell("$K sessions --root $R --recorder com"));
  EXPECT_EQ("ktr: there is no recorder 'com': the recorders here are cam\n", err());
  EXPECT_FALSE(isRunning());
}

TEST_F(KtrProgramTest, ManyCommandsAtOnceShareOneServer) {
  EXPECT_EQ(0, shell("p=; for i in 1 2 3 4 5 6; do $K sessions --root $R --recorder cam & p=\"$p "
                     "$!\"; done; for i in $p; do wait $i || exit 1; done"))
      << err();
  EXPECT_EQ("", err());
  EXPECT_FALSE(isRunning());
}

TEST_F(KtrProgramTest, StartsAndStopsTheServerByHand) {
  EXPECT_EQ(0, shell("$K server start --root $R && $K server status --root $R --json")) << err();
  EXPECT_THAT(out(), HasSubstr("is running"));
  EXPECT_TRUE(isRunning());
  EXPECT_EQ(0, shell("$K server status --root $R --json"));
  EXPECT_EQ(true, json::parse(out())["startedByHand"]);
  EXPECT_EQ(0, shell("$K server stop --root $R"));
  EXPECT_FALSE(isRunning());
}

TEST_F(KtrProgramTest, TwoStartsAtOnceInAnEmptyDirectory) {
  EXPECT_EQ(0,
            shell("$K server start --root $R/two & a=$!; $K server start --root $R/two && wait $a"))
      << err();
  EXPECT_THAT(out(), testing::AllOf(HasSubstr("is running"), HasSubstr("running already")));
  EXPECT_EQ(0, shell("$K server stop --root $R/two"));
}

TEST_F(KtrProgramTest, WritesForItsOwnerOnly) {
  EXPECT_EQ(0, shell("umask 0; $K server start --root $R/new")) << err();
  struct stat made {};
  ASSERT_EQ(0, stat((root_->path() + "/new").c_str(), &made));
  EXPECT_EQ(0U, made.st_mode & 077);
  EXPECT_EQ(0, shell("$K server stop --root $R/new"));
}

TEST_F(KtrProgramTest, UsesTheClientOptionFilesWhenTold) {
  const ServerLease lease = ServerLease::acquire(root_->paths());
  const std::string environment = "mkdir -p $R/home; export HOME=$R/home MARIADB_HOME=$R/.ktr; ";
  EXPECT_EQ(0, shell(environment + "$K server status --server client --json")) << err();
  EXPECT_EQ(true, json::parse(out())["ok"]);
  EXPECT_EQ(0, shell(environment + "$K sessions --root $R/home --recorder cam --server client"))
      << err();
  EXPECT_FALSE(fs::exists(root_->path() + "/home/.ktr"));
}

TEST_F(KtrProgramTest, IsNotLedAstrayByAPersonalOptionFile) {
  EXPECT_EQ(0, shell("mkdir -p $R/home; printf '[client]\\nsocket=/nowhere\\n' >$R/home/.my.cnf; "
                     "HOME=$R/home $K sessions --root $R --recorder cam"))
      << err();
}

TEST_F(KtrProgramTest, RefusesARootTooLongForASocket) {
  const std::string deep(100, 'd');
  EXPECT_EQ(2, shell("$K server start --root $R/" + deep));
  EXPECT_THAT(err(), HasSubstr("too long for the socket of a private database server: choose"));
  EXPECT_FALSE(fs::exists(root_->path() + "/" + deep));
}

TEST_F(KtrProgramTest, SurvivesAReaderThatWentAway) {
  shell("$K sessions --root $R --recorder cam | true");
  EXPECT_EQ("", err());
  EXPECT_FALSE(isRunning());
}

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "host/server/OptionFile.h"
#include "tests/support/FileText.h"
#include "tests/support/MariaDbServer.h"
#include "tests/support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

// The option file that docs/guide offers, on a server that knows nothing of recorders.
class ClientOptionSampleTest : public testing::Test {
 protected:
  // Installs an option file with this server and account filled in.
  void install(std::string text) {
    const MariaDbServer& server = MariaDbServer::instance();
    text =
        std::regex_replace(text, std::regex("\nsocket = .*"), "\nsocket = " + server.socketPath());
    text = std::regex_replace(text, std::regex("\nuser = .*"),
                              "\nuser = " + OptionFile::currentUser());
    text = std::regex_replace(text, std::regex("\npassword = .*"), "");
    std::ofstream(home_.path() + "/my.cnf") << text;
    chmod((home_.path() + "/my.cnf").c_str(), 0600);
  }

  // What `ktr server status --server client --json` says.
  [[nodiscard]] json status() const {
    const std::string programs = fs::read_symlink("/proc/self/exe").parent_path();
    const std::string home = home_.path();
    const std::string command = "HOME=" + home + " MARIADB_HOME=" + home + " " + programs +
                                "/ktr server status --server client --json --root " + home + " >" +
                                home + "/out 2>&1 </dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << contents(home + "/out");
    return json::parse(contents(home + "/out"));
  }

  TempDir home_;
};

TEST_F(ClientOptionSampleTest, LeavesNothingToAdvise) {
  install(contents(KTR_SOURCE_DIR "/docs/guide/client.cnf"));
  const json answer = status();
  EXPECT_EQ(answer["ok"], true) << answer.dump(2);
}

TEST_F(ClientOptionSampleTest, IsNeededOnAnOrdinaryServer) {
  install("[client]\nsocket = x\nuser = y\n");
  EXPECT_EQ(status()["ok"], false);
}

}  // namespace

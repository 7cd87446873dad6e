#include "host/pages/BashCompletion.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "host/CommandLine.h"
#include "host/commands/AllCommands.h"
#include "tests/support/TempDir.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

using Words = std::vector<std::string>;

/** What bash offers after the last word of a command line, in a directory with a few files. */
class BashCompletionTest : public testing::Test {
 protected:
  BashCompletionTest() {
    const CommandLine line(makeAllCommands());
    CLI::App program;
    line.define(program);
    std::ofstream script(dir_.path() + "/ktr.bash");
    BashCompletion(program).print(script);
    std::ofstream(dir_.path() + "/front door.mp4");
    EXPECT_EQ(std::system(("mkdir " + dir_.path() + "/videos").c_str()), 0);
  }

  /** The words as bash has split them. */
  Words complete(const Words& words) const {
    std::string list;
    for (const std::string& word : words) list += " '" + word + "'";
    std::ofstream(dir_.path() + "/script")
        << "set -eu\ncd " << dir_.path() << "\n. ./ktr.bash\nCOMP_WORDS=(ktr" << list
        << ")\nCOMP_CWORD=" << words.size()
        << "\n_ktr || exit 1\n((${#COMPREPLY[@]} == 0)) || printf '%s\\n' \"${COMPREPLY[@]}\" "
           ">offered\n";
    EXPECT_EQ(std::system(("bash --norc " + dir_.path() + "/script").c_str()), 0);
    std::ifstream offered(dir_.path() + "/offered");
    Words found;
    for (std::string line; std::getline(offered, line);) found.push_back(line);
    std::ofstream(dir_.path() + "/offered", std::ios::trunc);
    return found;
  }

  TempDir dir_;
};

}  // namespace

TEST_F(BashCompletionTest, CompletesACommand) {
  EXPECT_THAT(complete({"pl"}), ElementsAre("play"));
  EXPECT_THAT(complete({""}), Contains("record"));
  EXPECT_THAT(complete({"server", "st"}), ElementsAre("start", "stop", "status"));
}

TEST_F(BashCompletionTest, CompletesAnOptionOfItsCommand) {
  EXPECT_THAT(complete({"play", "--fo"}), UnorderedElementsAre("--for", "--follow"));
  EXPECT_THAT(complete({"server", "stop", "--root", "/x", "--"}), Contains("--force"));
  EXPECT_THAT(complete({"record", "--"}), Not(Contains("--force")));
}

TEST_F(BashCompletionTest, CompletesTheValueOfAnOption) {
  EXPECT_THAT(complete({"play", "--server", ""}), ElementsAre("private", "client"));
  EXPECT_THAT(complete({"play", "--root", ""}), ElementsAre("videos"));
  EXPECT_THAT(complete({"play", "-o", "fr"}), ElementsAre("front door.mp4"));
  EXPECT_THAT(complete({"play", "--at", ""}), IsEmpty());
}

TEST_F(BashCompletionTest, CompletesTheFileOfAStream) {
  EXPECT_THAT(complete({"record", "1", "=", "fro"}), ElementsAre("front door.mp4"));
  EXPECT_THAT(complete({"record", "1", "="}), Contains("front door.mp4"));
}

TEST_F(BashCompletionTest, IsRegisteredForTheProgram) {
  const std::string script = ". " + dir_.path() + "/ktr.bash; complete -p ktr | grep -q _ktr";
  EXPECT_EQ(std::system(("bash --norc -c '" + script + "'").c_str()), 0);
}

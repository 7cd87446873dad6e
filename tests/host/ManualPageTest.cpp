#include "host/pages/ManualPage.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"
#include "host/pages/OptionText.h"
#include "tests/support/TempDir.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/** The page and the help of every command of ktr. */
class ManualPageTest : public testing::Test {
 protected:
  ManualPageTest() : line_(makeAllCommands()) { commands_ = line_.define(program_); }

  static std::string page(const CLI::App& command) {
    std::ostringstream text;
    ManualPage(command).print(text);
    return text.str();
  }
  const CLI::App& command(const std::string& name) const { return *program_.get_subcommand(name); }

  static std::string help(const std::vector<std::string>& words) {
    std::vector<const char*> arguments{"ktr"};
    for (const std::string& word : words) arguments.push_back(word.c_str());
    arguments.push_back("--help");
    std::ostringstream out;
    HostContext context(out, out);
    EXPECT_EQ(CommandLine(makeAllCommands())
                  .run(static_cast<int>(arguments.size()), arguments.data(), context),
              0);
    return out.str();
  }
  /** The help of a command and of the commands inside it. */
  static std::string wholeHelp(const CLI::App& command) {
    std::string text = help({command.get_name()});
    for (const CLI::App* part : OptionText::commands(command)) {
      text += help({command.get_name(), part->get_name()});
    }
    return text;
  }
  static std::set<std::string> optionsIn(const std::string& text) {
    static const std::regex option("--[a-z][a-z-]*");
    return {std::sregex_token_iterator(text.begin(), text.end(), option), {}};
  }
  static std::string plain(std::string troff) {
    return std::regex_replace(troff, std::regex(R"(\\-)"), "-");
  }

  CommandLine line_;
  CLI::App program_;
  std::vector<CLI::App*> commands_;
};

}  // namespace

TEST_F(ManualPageTest, HasTheOptionsOfTheHelpAndNoOthers) {
  for (const CLI::App* command : commands_) {
    EXPECT_EQ(optionsIn(plain(page(*command))), optionsIn(wholeHelp(*command)))
        << command->get_name();
  }
}

TEST_F(ManualPageTest, ProgramNamesAllCommands) {
  for (const CLI::App* command : commands_) {
    EXPECT_THAT(page(program_), HasSubstr("ktr\\-" + command->get_name() + "\\fR(1)"));
  }
  EXPECT_EQ(ManualPage(program_).name(), "ktr");
  EXPECT_EQ(ManualPage(command("play")).name(), "ktr-play");
}

TEST_F(ManualPageTest, SynopsisNamesWhatIsRequired) {
  EXPECT_THAT(plain(page(command("record"))),
              HasSubstr("\\fBktr record\\fR \\fB--root\\fR \\fIDIR\\fR \\fB--recorder\\fR "
                        "\\fINAME\\fR [\\fIOPTIONS\\fR] \\fIN=URL\\fR...\n"));
}

TEST_F(ManualPageTest, ExamplesStandAsTheyAre) {
  const std::string text = page(command("sessions"));
  EXPECT_THAT(text, HasSubstr(".SH EXAMPLES\n.PP\n.nf\nktr sessions "));
  EXPECT_THAT(text, HasSubstr("\\(ti/video"));
  EXPECT_THAT(text, Not(HasSubstr("Examples:")));
}

TEST_F(ManualPageTest, TextIsNeverARequest) {
  CLI::App program("what it does", "ktr");
  program.add_subcommand("probe", "Look")->footer(".mp4 is a name\n'quoted'\na\\b");
  const std::string text = page(*program.get_subcommand("probe"));
  EXPECT_THAT(text, HasSubstr("\n\\&.mp4 is a name\n\\(aqquoted\\(aq\na\\eb\n"));
}

TEST_F(ManualPageTest, FormatsWithoutAWarning) {
  const TempDir dir;
  const std::string file = dir.path() + "/page.1";
  commands_.push_back(&program_);
  for (const CLI::App* command : commands_) {
    std::ofstream(file) << page(*command);
    const std::string check =
        "test -z \"$(groff -man -Tutf8 -ww " + file + " 2>&1 >" + dir.path() + "/out)\"";
    EXPECT_EQ(std::system(check.c_str()), 0) << page(*command);
  }
}

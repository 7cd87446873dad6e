#include "host/CommandLine.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "host/CommonOptions.h"
#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/commands/AllCommands.h"

using testing::AllOf;

using testing::HasSubstr;
using testing::StartsWith;

namespace {

/** A command with the options of a player, which notes what it is given. */
class ProbeCommand : public Command {
 public:
  CLI::App* define(CLI::App& program) override {
    CLI::App* command = program.add_subcommand("probe", "Note what is given");
    options.addDatabaseOptions(*command);
    options.addRecorder(*command);
    command->add_option("--at", at, "Time")->type_name("TIME");
    command->add_option("streams", streams, "Streams")->type_name("N=URL");
    return command;
  }
  [[nodiscard]] bool verbose() const override { return options.verbose(); }
  int run(HostContext&) override {
    (void)options.recorderName();
    if (at == "fail") throw failure("it broke", "mend it");
    if (at == "bug") throw std::runtime_error("out of range");
    return status;
  }

  CommonOptions options;
  std::string at;
  std::vector<std::string> streams;
  int status = 0;
};

class CommandLineTest : public testing::Test {
 protected:
  int run(std::vector<const char*> words) {
    words.insert(words.begin(), "ktr");
    words.push_back(nullptr);
    out_.str("");
    err_.str("");
    HostContext context(out_, err_);
    auto commands = makeAllCommands();
    commands.push_back(std::make_unique<ProbeCommand>());
    probe_ = static_cast<ProbeCommand*>(commands.back().get());
    line_ = std::make_unique<CommandLine>(std::move(commands));
    return line_->run(static_cast<int>(words.size()) - 1, words.data(), context);
  }

  /** The one line of a command line that makes no sense. */
  std::string misuse(const std::vector<const char*>& words) {
    EXPECT_EQ(2, run(words));
    EXPECT_EQ("", out_.str());
    return err_.str();
  }

  static testing::Matcher<std::string> oneLine(const std::string& text) {
    return AllOf(StartsWith("ktr: "), HasSubstr(text),
                 testing::ResultOf(
                     [](const std::string& s) { return std::count(s.begin(), s.end(), '\n'); }, 1));
  }

  std::ostringstream out_;
  std::ostringstream err_;
  std::unique_ptr<CommandLine> line_;
  ProbeCommand* probe_ = nullptr;
};

}  // namespace

TEST_F(CommandLineTest, PrintsHelpAndVersion) {
  EXPECT_EQ(0, run({"--help"}));
  EXPECT_THAT(out_.str(),
              AllOf(HasSubstr("sessions"), HasSubstr("server"), HasSubstr("First steps")));
  EXPECT_EQ(0, run({"--version"}));
  EXPECT_THAT(out_.str(), StartsWith("ktr "));
  EXPECT_EQ(0, run({"sessions", "--help"}));
  EXPECT_THAT(out_.str(), AllOf(HasSubstr("--root DIR"), HasSubstr("Examples:")));
  EXPECT_EQ(0, run({"server", "stop", "-h"}));
  EXPECT_THAT(out_.str(), HasSubstr("--force"));
  EXPECT_EQ("", err_.str());
}

TEST_F(CommandLineTest, HelpFitsTheTerminal) {
  for (const char* command : {"sessions", "events", "retain", "server", "probe"}) {
    run({command, "--help"});
    std::istringstream lines(out_.str());
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST_F(CommandLineTest, AnswersMisuseWithOneLine) {
  EXPECT_THAT(misuse({}), oneLine("no command is given: see ktr --help"));
  EXPECT_THAT(misuse({"pley"}),
              oneLine("'pley' is not a command: the commands are record, sessions, play, events, "
                      "retain, check, repair, server"));
  EXPECT_THAT(misuse({"--root", "/x", "sessions"}), oneLine("'--root' does not stand before"));
  EXPECT_THAT(misuse({"sessions"}), oneLine("--root is required: see ktr sessions --help"));
  EXPECT_THAT(misuse({"sessions", "--root"}), oneLine("see ktr sessions --help"));
  EXPECT_THAT(misuse({"sessions", "--root", "/x", "--recorder", "a", "--zz"}), oneLine("--zz"));
  EXPECT_THAT(misuse({"sessions", "--root", "/x", "--recorder", "a", "--server", "z"}),
              oneLine("give private or client"));
  EXPECT_THAT(misuse({"server"}), oneLine("give start, stop or status"));
  EXPECT_THAT(misuse({"server", "kill"}), oneLine("kill"));
  EXPECT_THAT(misuse({"server", "status"}), oneLine("--root DIR"));
  EXPECT_THAT(misuse({"server", "start", "--root", "/x", "--server", "client"}),
              oneLine("only its own server"));
}

TEST_F(CommandLineTest, ChecksWhatIsGivenBeforeAnythingElse) {
  EXPECT_THAT(misuse({"sessions", "--root", "/x;y", "--recorder", "a"}), oneLine("storage root"));
  EXPECT_THAT(misuse({"sessions", "--root", "/x", "--recorder", "a b"}), oneLine("recorder name"));
  EXPECT_THAT(misuse({"sessions", "--root", "/x", "--recorder", "a", "--stream", "256"}),
              oneLine("stream number"));
}

TEST_F(CommandLineTest, KeepsHostileInputOnItsLine) {
  EXPECT_THAT(misuse({"a\nktr: all is well\x1b[2J"}), oneLine("'a?ktr: all is well?[2J'"));
}

TEST_F(CommandLineTest, TakesAnOptionThatBeginsWithAMinus) {
  EXPECT_EQ(0, run({"probe", "--root", "/x", "--recorder", "a", "--at", "-90s", "1=a", "2=b=c"}));
  EXPECT_EQ("-90s", probe_->at);
  EXPECT_THAT(probe_->streams, testing::ElementsAre("1=a", "2=b=c"));
}

TEST_F(CommandLineTest, TurnsAFailureIntoOneLine) {
  EXPECT_EQ(1, run({"probe", "--root", "/x", "--recorder", "a", "--at", "fail"}));
  EXPECT_EQ("ktr: it broke: mend it\n", err_.str());
  EXPECT_EQ(1, run({"probe", "--root", "/x", "--recorder", "a", "--at", "bug"}));
  EXPECT_THAT(err_.str(), oneLine("out of range: this is a fault of ktr"));
}

TEST_F(CommandLineTest, SaysWhenNothingIsRecorded) {
  EXPECT_EQ(1, run({"sessions", "--root", "/nowhere", "--recorder", "a"}));
  EXPECT_THAT(err_.str(), oneLine("nothing is recorded under /nowhere: check --root, or record"));
}

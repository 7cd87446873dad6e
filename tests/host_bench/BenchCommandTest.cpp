#include "host/commands/BenchCommand.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>

namespace {

/** Parses the words behind "bench"; the error's text, empty when there is none. */
std::string parse(const std::string& words) {
  CLI::App program;
  BenchCommand command;
  (void)command.define(program);
  try {
    program.parse("bench " + words);
  } catch (const CLI::ParseError& error) {
    return error.what();
  }
  return "";
}

}  // namespace

TEST(BenchCommandTest, TakesScenariosAndOptions) {
  EXPECT_EQ("", parse("--root /r"));
  EXPECT_EQ("", parse("--root /r append read --against --runs 99 --aged --short --json -v"));
}

TEST(BenchCommandTest, RootIsRequired) {
  EXPECT_THAT(parse("append"), testing::HasSubstr("--root is required"));
}

TEST(BenchCommandTest, RunsAreANumberThatCanBe) {
  for (const char* runs : {"0", "100", "-1", "many"}) {
    EXPECT_THAT(parse(std::string("--root /r --runs ") + runs), testing::HasSubstr("--runs"))
        << runs;
  }
}

TEST(BenchCommandTest, TellsWhetherTheLogIsWanted) {
  CLI::App program;
  BenchCommand command;
  (void)command.define(program);
  EXPECT_FALSE(command.verbose());
  program.parse("bench --root /r --verbose");
  EXPECT_TRUE(command.verbose());
}

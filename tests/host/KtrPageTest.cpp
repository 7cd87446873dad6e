#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <string>

#include "host/commands/AllCommands.h"
#include "tests/support/FileText.h"

namespace {

// The reference of the program beside what its commands take.
class KtrPageTest : public testing::Test {
 protected:
  static std::string page() { return contents(KTR_SOURCE_DIR "/docs/reference/ktr.md"); }

  // What the page says between this heading and the next of its level.
  static std::string section(const std::string& heading) {
    const std::string text = page();
    const size_t begin = text.find("\n## " + heading + "\n");
    if (begin == std::string::npos) return "";
    return text.substr(begin, text.find("\n## ", begin + 1) - begin);
  }

  static void expectOptions(const CLI::App& command, const std::string& text) {
    for (const CLI::Option* option : command.get_options()) {
      for (const std::string& name : option->get_lnames()) {
        EXPECT_NE(text.find("`--" + name), std::string::npos)
            << command.get_name() << " --" << name;
      }
    }
  }
};

TEST_F(KtrPageTest, EveryCommandHasASectionWithAllItsOptions) {
  const std::string shared = section("What all commands share");
  ASSERT_FALSE(shared.empty());
  CLI::App program;
  for (const auto& each : makeAllCommands()) {
    const CLI::App* command = each->define(program);
    const std::string text = section("ktr " + command->get_name());
    EXPECT_FALSE(text.empty()) << command->get_name();
    expectOptions(*command, text + shared);
    for (const CLI::App* part : command->get_subcommands({})) {
      EXPECT_NE(text.find(part->get_name()), std::string::npos) << part->get_name();
      expectOptions(*part, text + shared);
    }
  }
}

}  // namespace

#include "host/commands/CheckCommand.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "host/CommandLine.h"
#include "host/HostContext.h"
#include "host/commands/AllCommands.h"
#include "tests/support/TempDir.h"

namespace {

/** A context that shows a fault of the program's own. */
class BrokenContext : public HostContext {
 public:
  using HostContext::HostContext;
  void open(const CommonOptions& /*options*/, Purpose /*purpose*/) override {
    throw std::runtime_error("vector::_M_range_check");
  }
};

TEST(CheckCommandTest, AFaultOfItsOwnIsNoFinding) {
  const TempDir root;
  std::filesystem::create_directory(root.path() + "/cam");
  std::ostringstream out;
  std::ostringstream err;
  BrokenContext context(out, err);
  const char* words[] = {"ktr",        "check", "--root",   root.path().c_str(),
                         "--recorder", "cam",   "--server", "client"};
  EXPECT_EQ(2, CommandLine(makeAllCommands()).run(std::size(words), words, context));
  EXPECT_EQ("", out.str());
  EXPECT_EQ(
      "ktr: the check could not be made (vector::_M_range_check): this is a fault of ktr, please "
      "report it\n",
      err.str());
}

}  // namespace

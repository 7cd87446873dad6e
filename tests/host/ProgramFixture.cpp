#include "tests/host/ProgramFixture.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "host/server/PrivateServer.h"
#include "tests/support/FileText.h"

std::unique_ptr<HostTestRoot> ProgramFixture::root_;

int ProgramFixture::shell(const std::string& text) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "ktr";
  const std::string command = "K=" + program + " R=" + root_->path() + " D=" + dir_.path() +
                              "; { " + text + "; } >" + path("out") + " 2>" + path("err") +
                              " </dev/null";
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ProgramFixture::contents(const std::string& name) const {
  return ::contents(path(name));
}

bool ProgramFixture::isRunning() {
  return PrivateServer(root_->paths()).process().has_value();
}

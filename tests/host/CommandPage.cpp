#include "tests/host/CommandPage.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/FileText.h"

#include "tests/support/TestClip.h"

std::string CommandPage::contents(const std::string& path) {
  return ::contents(path);
}

std::string CommandPage::commands(const std::string& page) {
  const std::string text = contents(KTR_SOURCE_DIR "/" + page);
  const std::string fence = "```sh\n";
  std::string all;
  size_t end = 0;
  for (size_t begin = text.find(fence); begin != std::string::npos; begin = text.find(fence, end)) {
    begin += fence.size();
    end = text.find("```", begin);
    all += text.substr(begin, end - begin);
  }
  return all;
}

void CommandPage::makeClip(const std::string& name) const {
  TestClip::Form clip;
  clip.seconds = 4;
  TestClip::make(home(name), clip);
}

int CommandPage::run(const std::string& script) const {
  std::ofstream(home("script")) << "set -e\n" << script;
  const std::string programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  const std::string command = "cd " + home_.path() + " && HOME=" + home_.path() +
                              " PATH=" + programs + ":$PATH sh ./script >out 2>&1 </dev/null";
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

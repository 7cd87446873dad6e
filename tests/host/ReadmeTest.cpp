#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/TempDir.h"
#include "tests/support/TestClip.h"

namespace {

namespace fs = std::filesystem;

// The README as its reader follows it: every command of its first session runs as it stands.
class ReadmeTest : public testing::Test {
 protected:
  static std::string contents(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::string readme() { return contents(KTR_SOURCE_DIR "/README.md"); }

  // The first fenced block of a language.
  static std::string block(const std::string& language) {
    const std::string text = readme();
    const std::string fence = "```" + language + "\n";
    const size_t begin = text.find(fence);
    if (begin == std::string::npos) return "";
    const size_t start = begin + fence.size();
    return text.substr(start, text.find("```", start) - start);
  }

  // Runs a script in a home of its own that has a clip; its exit status.
  int shell(const std::string& script) const {
    std::ofstream(home_.path() + "/script") << "set -e\n" << script;
    const std::string programs = fs::read_symlink("/proc/self/exe").parent_path();
    const std::string command = "cd " + home_.path() + " && HOME=" + home_.path() +
                                " PATH=" + programs + ":$PATH sh ./script >out 2>&1 </dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  TempDir home_;
};

TEST_F(ReadmeTest, FirstSessionRunsAsItStands) {
  TestClip::Form clip;
  clip.seconds = 4;
  TestClip::make(home_.path() + "/front.mp4", clip);
  const std::string session = block("sh");
  ASSERT_NE(session.find("ktr record"), std::string::npos);
  EXPECT_EQ(shell(session), 0) << contents(home_.path() + "/out");
  EXPECT_GT(fs::file_size(home_.path() + "/clip.mkv"), 1000U);
}

TEST_F(ReadmeTest, ItsScriptsAndPagesAreThere) {
  for (const char* path : {"scripts/demo", "scripts/test", "docs/README.md", "CHANGELOG.md"}) {
    EXPECT_NE(readme().find(path), std::string::npos) << path;
    EXPECT_TRUE(fs::exists(std::string(KTR_SOURCE_DIR "/") + path)) << path;
  }
}

}  // namespace

#include <filesystem>
#include <string>

#include "tests/host/CommandPage.h"

namespace {

namespace fs = std::filesystem;

class ReadmeTest : public CommandPage {};

TEST_F(ReadmeTest, FirstSessionRunsAsItStands) {
  makeClip("front.mp4");
  const std::string session = commands("README.md");
  ASSERT_NE(session.find("ktr record"), std::string::npos);
  EXPECT_EQ(run(session), 0) << output();
  EXPECT_GT(fs::file_size(home("clip.mkv")), 1000U);
}

TEST_F(ReadmeTest, ItsScriptsAndPagesAreThere) {
  const std::string readme = contents(KTR_SOURCE_DIR "/README.md");
  for (const char* path : {"scripts/demo", "scripts/test", "docs/README.md", "CHANGELOG.md"}) {
    EXPECT_NE(readme.find(path), std::string::npos) << path;
    EXPECT_TRUE(fs::exists(std::string(KTR_SOURCE_DIR "/") + path)) << path;
  }
}

}  // namespace

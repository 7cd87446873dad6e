#include <filesystem>
#include <string>

#include "tests/host/CommandPage.h"

namespace {

namespace fs = std::filesystem;

class FirstRecorderPageTest : public CommandPage {};

TEST_F(FirstRecorderPageTest, EveryCommandRunsAsItStands) {
  makeClip("front.mp4");
  const std::string session = commands("docs/guide/first-recorder.md");
  for (const char* command : {"ktr record", "ktr sessions", "ktr play", "ktr server"}) {
    EXPECT_NE(session.find(command), std::string::npos) << command;
  }
  EXPECT_EQ(run(session), 0) << output();
  for (const char* clip : {"clip.mkv", "clip.mp4"}) {
    EXPECT_GT(fs::file_size(home(clip)), 1000U) << clip;
  }
  EXPECT_NE(output().find("F0.dat"), std::string::npos) << output();
}

}  // namespace

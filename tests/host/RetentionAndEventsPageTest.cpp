#include <filesystem>
#include <string>

#include "tests/host/CommandPage.h"
#include "tests/support/TestClip.h"

namespace {

namespace fs = std::filesystem;

class RetentionAndEventsPageTest : public CommandPage {};

TEST_F(RetentionAndEventsPageTest, EveryCommandRunsAsItStands) {
  TestClip::make(home("front.mp4"), {.seconds = 30, .keyInterval = 25});
  const std::string session = commands("docs/guide/retention-and-events.md");
  for (const char* command : {"ktr retain", "ktr record", "ktr events add", "ktr events list",
                              "ktr events watch", "--by-events", "--confirm"}) {
    EXPECT_NE(session.find(command), std::string::npos) << command;
  }
  EXPECT_EQ(run(session), 0) << output();
  EXPECT_NE(output().find("door opened"), std::string::npos) << output();
  EXPECT_NE(output().find("stream 1: recorded"), std::string::npos) << output();
  EXPECT_GT(fs::file_size(home("event.mkv")), 1000U) << output();
}

}  // namespace

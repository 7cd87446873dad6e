#include "host/byevents/ByEventsOptions.h"

#include <CLI/CLI.hpp>

#include "tests/host/UsageErrors.h"

namespace {

std::optional<ByEvents> parsed(std::vector<std::string> words) {
  CLI::App command;
  ByEventsOptions options;
  std::string ignored;
  options.addTo(command, *command.add_option("--slice-size", ignored));
  std::reverse(words.begin(), words.end());
  command.parse(words);
  return options.byEvents();
}

}  // namespace

TEST(ByEventsOptionsTest, NothingGivenIsARecordingWithoutInterruption) {
  EXPECT_FALSE(parsed({}));
}

TEST(ByEventsOptionsTest, TakesTheWindowAndTheTimeAfterAnEvent) {
  EXPECT_EQ(2, parsed({"--by-events", "2"})->keyFrames);
  EXPECT_EQ(std::chrono::seconds(30), parsed({"--by-events", "100"})->afterEvent);
  EXPECT_EQ(std::chrono::seconds(90),
            parsed({"--by-events", "10", "--post-event", "1m30s"})->afterEvent);
}

TEST(ByEventsOptionsTest, RefusesWindowsThatCannotBeKept) {
  EXPECT_EQ(
      "'1' key frames cannot be kept before an event: give 2 to 100; how many seconds that is "
      "depends on the camera",
      usageErrorOf([] {
        return parsed({"--by-events", "1"});
      }));
  for (const char* keyFrames : {"0", "-4", "101", "10s"}) {
    usageErrorOf([&] { return parsed({"--by-events=" + std::string(keyFrames)}); });
  }
  usageErrorOf([] { return parsed({"--by-events", "4", "--post-event", "0"}); });
}

TEST(ByEventsOptionsTest, DoesNotGoWithASliceSizeNorTheTimeAloneWithoutIt) {
  EXPECT_THROW((void)parsed({"--by-events", "4", "--slice-size", "5"}), CLI::ExcludesError);
  EXPECT_THROW((void)parsed({"--post-event", "4s"}), CLI::RequiresError);
}

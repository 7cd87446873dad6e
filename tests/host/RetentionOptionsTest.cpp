#include "host/retain/RetentionOptions.h"

#include <CLI/CLI.hpp>

#include "tests/host/UsageErrors.h"

namespace {

RetentionPolicy parsed(std::vector<std::string> words) {
  CLI::App command;
  RetentionOptions options;
  options.addTo(command);
  std::reverse(words.begin(), words.end());
  command.parse(words);
  return options.policy();
}

}  // namespace

TEST(RetentionOptionsTest, HasTheUsualFloorAlone) {
  const RetentionPolicy policy = parsed({});
  EXPECT_FALSE(policy.maxBytes);
  EXPECT_FALSE(policy.maxAge);
  EXPECT_EQ(0, policy.keepAtLeast);
  EXPECT_EQ(50U, policy.minFree.bytesOf(1000));
}

TEST(RetentionOptionsTest, TakesAllGoals) {
  const RetentionPolicy policy = parsed(
      {"--max-size", "2TiB", "--max-age", "30d", "--min-free", "10%", "--keep-at-least", "30d"});
  EXPECT_EQ(2199023255552U, policy.maxBytes);
  EXPECT_EQ(30 * 86400, policy.maxAge);
  EXPECT_EQ(30 * 86400, policy.keepAtLeast);
  EXPECT_EQ(100U, policy.minFree.bytesOf(1000));
}

TEST(RetentionOptionsTest, RefusesWhatMakesNoSense) {
  usageErrorOf([] { return parsed({"--max-size", "many"}); });
  usageErrorOf([] { return parsed({"--max-age", "0"}); });
  usageErrorOf([] { return parsed({"--min-free", "95%"}); });
  usageErrorOf([] { return parsed({"--keep-at-least", "367d"}); });
  EXPECT_THAT(usageErrorOf([] {
                return parsed({"--max-age", "1d", "--keep-at-least", "2d"});
              }),
              testing::HasSubstr("--max-age is less than --keep-at-least"));
}

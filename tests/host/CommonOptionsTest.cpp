#include "host/CommonOptions.h"

#include <CLI/CLI.hpp>

#include "tests/host/UsageErrors.h"

namespace {

class CommonOptionsTest : public testing::Test {
 protected:
  CommonOptionsTest() {
    options_.addDatabaseOptions(app_);
    options_.addRecorder(app_);
    options_.addJson(app_);
  }

  void parse(const std::string& words) { app_.parse(words); }

  CLI::App app_;
  CommonOptions options_;
};

}  // namespace

TEST_F(CommonOptionsTest, HasSensibleDefaults) {
  parse("--root /srv --recorder cam");
  EXPECT_EQ("/srv", options_.storageRoot().path());
  EXPECT_EQ("cam", options_.recorderName().text());
  EXPECT_TRUE(options_.usesPrivateServer());
  EXPECT_FALSE(options_.verbose());
  EXPECT_FALSE(options_.json());
}

TEST_F(CommonOptionsTest, TakesAllOptions) {
  parse("--root=/srv --recorder=cam --server=client -v --json");
  EXPECT_FALSE(options_.usesPrivateServer());
  EXPECT_TRUE(options_.verbose());
  EXPECT_TRUE(options_.json());
}

TEST_F(CommonOptionsTest, ChecksWhenAsked) {
  parse("--root /a/../b --recorder a_b");
  usageErrorOf([&] { return options_.storageRoot(); });
  usageErrorOf([&] { return options_.recorderName(); });
}

TEST_F(CommonOptionsTest, WantsRootAndRecorder) {
  EXPECT_THROW(parse("--root /srv"), CLI::RequiredError);
  EXPECT_THROW(parse("--recorder cam"), CLI::RequiredError);
  EXPECT_THROW(parse("--root /srv --recorder cam --server x"), CLI::ValidationError);
}

#include "host/record/SettingsName.h"

#include <gmock/gmock.h>

TEST(SettingsNameTest, FollowsFromKindAndText) {
  EXPECT_STREQ(settingsName('v', "25,0").c_str(), settingsName('v', "25,0").c_str());
  EXPECT_STRNE(settingsName('v', "25,0").c_str(), settingsName('v', "25,1").c_str());
  EXPECT_STRNE(settingsName('v', "25,0").c_str(), settingsName('a', "25,0").c_str());
}

TEST(SettingsNameTest, IsShortAndPlain) {
  EXPECT_THAT(settingsName('a', "").c_str(), testing::MatchesRegex("a[0-9a-f]+"));
}

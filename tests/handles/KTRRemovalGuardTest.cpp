#include "handles/KTRRemovalGuard.h"

#include <gmock/gmock.h>

#include "tests/support/LogCapture.h"

namespace {

constexpr const char* CHARACTERS = "only letters, digits and / . _ - are allowed";

struct Refused {
  const char* path;
  const char* reason;
};

TEST(KTRRemovalGuardTest, AllowsStorageDirectoriesAndFilePrefixes) {
  for (const char* path : {"/data", "/data/rec/2024/11/20", "/data/rec/record_ktr_cam1_R42_",
                           "/srv/a.b-c_d/", "/data/..a", "/data/a..b", "//data//rec", "/.rec"}) {
    EXPECT_EQ(KTRRemovalGuard::refusal(path), nullptr) << path;
  }
}

TEST(KTRRemovalGuardTest, RefusesWhateverAShellCouldReadAsMoreThanAPath) {
  const Refused hostile[] = {
      {"", "it is empty"},
      {"data/rec", "it is not absolute"},
      {"-rf", "it is not absolute"},
      {"~/rec", "it is not absolute"},
      {"./rec", "it is not absolute"},
      {"/", "it is the root directory"},
      {"//", "it is the root directory"},
      {"/./", "it is the root directory"},
      {"/data/..", "it has a component .."},
      {"/../etc", "it has a component .."},
      {"/data/../../etc", "it has a component .."},
      {"/data/rec; reboot", CHARACTERS},
      {"/data/a b", CHARACTERS},
      {"/data/*", CHARACTERS},
      {"/data/?", CHARACTERS},
      {"/data/[a-z]", CHARACTERS},
      {"/data/{a,b}", CHARACTERS},
      {"/data/$HOME", CHARACTERS},
      {"/data/`id`", CHARACTERS},
      {"/data/$(id)", CHARACTERS},
      {"/data/a&b", CHARACTERS},
      {"/data/a|b", CHARACTERS},
      {"/data/a>b", CHARACTERS},
      {"/data/a<b", CHARACTERS},
      {"/data/'x'", CHARACTERS},
      {"/data/\"x\"", CHARACTERS},
      {"/data/a\\b", CHARACTERS},
      {"/data/a\nb", CHARACTERS},
      {"/data/a\tb", CHARACTERS},
      {"/data/#a", CHARACTERS},
      {"/data/a!b", CHARACTERS},
      {"/data/a=b", CHARACTERS},
      {"/data/a%b", CHARACTERS},
      {"/data/\xC3\xA4", CHARACTERS},
      {"/data/\x7F", CHARACTERS},
  };
  for (const Refused& each : hostile) {
    EXPECT_STREQ(KTRRemovalGuard::refusal(each.path), each.reason) << each.path;
  }
}

TEST(KTRRemovalGuardTest, RefusesAZeroByteInsideThePath) {
  EXPECT_STREQ(KTRRemovalGuard::refusal(KTString("/a\0b", 4)), CHARACTERS);
}

TEST(KTRRemovalGuardTest, LogsARefusalWithItsReason) {
  const LogCapture log;
  EXPECT_FALSE(KTRRemovalGuard::allows("/data/.."));
  EXPECT_TRUE(log.has(128, "[ REMOVE REFUSED ] '/data/..' : it has a component .."));
  EXPECT_TRUE(KTRRemovalGuard::allows("/data/rec"));
  EXPECT_EQ(log.lines().size(), 1U);
}

}  // namespace

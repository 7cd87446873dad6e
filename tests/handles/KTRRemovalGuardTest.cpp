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
      {" /data", "it is not absolute"},
      {"$HOME/rec", "it is not absolute"},
      {"..", "it is not absolute"},
      {"/..", "it has a component .."},
      {"/data/rec/../", "it has a component .."},
      {"/./..//", "it has a component .."},
      {"/data/rec ", CHARACTERS},
      {"/data/a\rb", CHARACTERS},
      {"/data/a\x1b[2J", CHARACTERS},
      {"/data/~x", CHARACTERS},
      {"/data/a,b", CHARACTERS},
      {"/data/a:b", CHARACTERS},
      {"/data/a@b", CHARACTERS},
      {"/data/a^b", CHARACTERS},
      {"/data/a+b", CHARACTERS},
      {"/data/a(b", CHARACTERS},
      {"/data/x' OR '1'='1", CHARACTERS},
      {"/etc", "it belongs to the system"},
      {"//etc/passwd", "it belongs to the system"},
      {"/./usr/lib", "it belongs to the system"},
      {"/bin/", "it belongs to the system"},
      {"/proc/self", "it belongs to the system"},
  };
  for (const Refused& each : hostile) {
    EXPECT_STREQ(KTRRemovalGuard::refusal(each.path), each.reason) << each.path;
  }
}

TEST(KTRRemovalGuardTest, AllowsEveryCharacterThatNoShellReadsOtherwise) {
  EXPECT_EQ(KTRRemovalGuard::refusal(
                "/abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-"),
            nullptr);
}

TEST(KTRRemovalGuardTest, RefusesEveryDirectoryOfTheSystem) {
  for (const char* name :
       {"bin", "boot", "etc", "lib", "lib32", "lib64", "proc", "sbin", "sys", "usr"}) {
    const KTString path = KTString("/") + name;
    EXPECT_STREQ(KTRRemovalGuard::refusal(path), "it belongs to the system") << name;
    EXPECT_STREQ(KTRRemovalGuard::refusal(path + "/rec"), "it belongs to the system") << name;
    EXPECT_EQ(KTRRemovalGuard::refusal(path + "x/rec"), nullptr) << name;
  }
}

TEST(KTRRemovalGuardTest, RefusesAZeroByteInsideThePath) {
  EXPECT_STREQ(KTRRemovalGuard::refusal(KTString("/a\0b", 4)), CHARACTERS);
}

TEST(KTRRemovalGuardTest, AllowsWhatLiesBelowTheStorageRoot) {
  for (const char* path : {"/data/rec/2024", "//data//./rec/2024/", "/data/rec/./record_R1_"}) {
    EXPECT_EQ(KTRRemovalGuard::refusal(path, "/data/rec"), nullptr) << path;
    EXPECT_EQ(KTRRemovalGuard::refusal(path, "/data/rec/"), nullptr) << path;
  }
}

TEST(KTRRemovalGuardTest, RefusesWhatDoesNotLieBelowTheStorageRoot) {
  for (const char* path : {"/data", "/data/rec", "/data/rec/", "/data/rec/.", "/data/rec2/2024",
                           "/data/record_R1_", "/home/x", "/srv/data/rec/2024"}) {
    EXPECT_STREQ(KTRRemovalGuard::refusal(path, "/data/rec"), "it is not below the storage root")
        << path;
  }
  EXPECT_STREQ(KTRRemovalGuard::refusal("/data/rec/..", "/data/rec"), "it has a component ..");
}

TEST(KTRRemovalGuardTest, NothingLiesBelowAStorageRootThatIsNone) {
  for (const char* root : {"/", "data", "/data/..", "/da ta", "/etc"}) {
    EXPECT_STREQ(KTRRemovalGuard::refusal("/data/rec", root), "it is not below the storage root")
        << root;
  }
}

TEST(KTRRemovalGuardTest, LogsARefusalWithItsReason) {
  const LogCapture log;
  EXPECT_FALSE(KTRRemovalGuard::allows("/data/..", ""));
  EXPECT_TRUE(log.has(128, "[ REMOVE REFUSED ] '/data/..' : it has a component .."));
  EXPECT_TRUE(KTRRemovalGuard::allows("/data/rec", "/data"));
  EXPECT_EQ(log.lines().size(), 1U);
}

}  // namespace

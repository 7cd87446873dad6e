#include <unistd.h>

#include <filesystem>

#include "tests/host/ProgramFixture.h"
#include "tests/support/TestClip.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

// The program as an account without rights: another one when the tests run as root.
class KtrUnprivilegedTest : public ProgramFixture {
 protected:
  // A copy, for the account may not reach the place where it was built.
  void SetUp() override {
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    fs::permissions(dir_.path(), fs::perms(0755));
    fs::copy_file(here / "ktr", path("ktr"));
    fs::copy_file(here / "../lib/libktrstorage.so.0", path("libktrstorage.so.0"));
    TestClip::make(path("clip.mp4"), {.seconds = 2});
    fs::permissions(path("clip.mp4"), fs::perms(0644));
    fs::create_directory(path("home"));
    if (geteuid() == 0) {
      ASSERT_EQ(0, shell("chown nobody $D/home"));
    }
  }

  /** Runs a shell text as the account, in its own directory $H and with $K the program. */
  int asUser(const std::string& text, const std::string& mask = "022") {
    const std::string account =
        geteuid() == 0 ? "setpriv --reuid=nobody --regid=nogroup --clear-groups " : "";
    return shell("export H=$D/home K=$D/ktr D LD_LIBRARY_PATH=$D; cd $H && " + account +
                 "sh -c 'umask " + mask + "; " + text + "'");
  }
  /** What below a directory others than its owner may use, or what is not the account's. */
  int listWhatIsOpen(const std::string& directory) {
    return shell("find " + path(directory) + " -mindepth 0 ! -type l \\( -perm /077 -o ! -user " +
                 (geteuid() == 0 ? "nobody" : std::to_string(geteuid())) +
                 " \\) -printf '%m %p\\n'");
  }
};

constexpr const char* RECORD_AND_PLAY =
    "$K server start --root $H/v >/dev/null && "
    "$K record --root $H/v --recorder cam --no-audio --frame-log $H/frames 1=$D/clip.mp4 && "
    "$K events add --root $H/v --recorder cam --sensor 1 --type 2 && "
    "$K play --root $H/v --recorder cam --stream 1 --at -1m -o $H/out.mp4 && "
    "$K sessions --root $H/v --recorder cam && "
    "$K check --root $H/v --recorder cam --level full && "
    "for slice in $H/v/cam/*/*/*/*_F0.dat; do echo noise >> $slice; done && "
    "$K repair --root $H/v --recorder cam && "
    "$K check --root $H/v --recorder cam --level full && "
    "$K retain --root $H/v --recorder cam --max-age 1d --keep-at-least 1h && "
    "test -S $H/v/.ktr/server.sock";

TEST_F(KtrUnprivilegedTest, RecordsPlaysAndServes) {
  EXPECT_EQ(0, asUser(RECORD_AND_PLAY)) << err();
  EXPECT_THAT(err(), HasSubstr("played 50 frames"));
  EXPECT_EQ(0, asUser("$K server status --root $H/v && $K server stop --root $H/v")) << err();
}

TEST_F(KtrUnprivilegedTest, KeepsEverythingToItselfWhateverTheUmask) {
  for (const char* mask : {"000", "022", "777"}) {
    EXPECT_EQ(0,
              asUser("rm -rf $H/v $H/out.mp4 $H/frames.1; " + std::string(RECORD_AND_PLAY), mask))
        << mask << err();
    for (const char* made : {"home/v", "home/out.mp4", "home/frames.1"}) {
      EXPECT_EQ(0, listWhatIsOpen(made));
      EXPECT_EQ("", out()) << mask;
    }
    EXPECT_EQ(0, asUser("$K server stop --root $H/v", mask)) << err();
    EXPECT_EQ(0, listWhatIsOpen("home/v"));
    EXPECT_EQ("", out()) << mask;
  }
}

TEST_F(KtrUnprivilegedTest, ClosesADirectoryOfTheServerThatWasMadeOpen) {
  EXPECT_EQ(0, asUser("mkdir -p $H/v/.ktr && chmod 777 $H/v/.ktr && "
                      "$K server start --root $H/v && $K server stop --root $H/v"))
      << err();
  EXPECT_EQ(0, listWhatIsOpen("home/v/.ktr"));
  EXPECT_EQ("", out());
}

}  // namespace

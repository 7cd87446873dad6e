#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/host/ProgramFixture.h"
#include "tests/support/FileText.h"
#include "tests/support/TestClip.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

/**
 * ktr record on file systems of a few MiB, real ones that get full, while the clock of the machine
 * runs: two recorders side by side, each with a session of 7 MB from before. "floor" keeps 12 of
 * its 20 MiB free. "full" has 10 MiB, which its stream fills before retention, that looks every 30
 * seconds, makes room.
 */
class SmallDiskTest : public ProgramFixture {
 protected:
  static void TearDownTestSuite() {
    seen_.reset();
    ProgramFixture::TearDownTestSuite();
  }
  void SetUp() override {
    if (seen_ != nullptr) return;
    seen_ = std::make_unique<TempDir>();
    clip("before.mp4", 4, "14M");
    clip("floor.mp4", 38, "2M");
    clip("full.mp4", 41, "3M");
    ASSERT_EQ(0, recordBoth()) << err() << seen("floor.log") << seen("full.log");
  }

  /** What a command has written. */
  [[nodiscard]] static std::string seen(const std::string& name) {
    return ::contents(seen_->path() + "/" + name);
  }
  [[nodiscard]] static json sessions(const std::string& recorder) {
    return json::parse(seen(recorder + ".sessions"))["sessions"];
  }

 private:
  /** A clip that takes just so many bits a second. */
  static void clip(const std::string& name, int seconds, const std::string& rate) {
    TestClip::make(seen_->path() + "/" + name,
                   {.seconds = static_cast<double>(seconds),
                    .keyInterval = 25,
                    .size = "320x240",
                    .encoderOptions = "-b:v " + rate + " -minrate " + rate + " -maxrate " + rate +
                                      " -bufsize 1M -nal-hrd cbr"});
  }
  // The mounts end with the commands: they are made in a namespace of theirs, which others than
  // root may do as a user of one's own.
  int recordBoth() {
    const std::string isolated = getuid() == 0 ? "unshare -m" : "unshare -rm";
    std::ofstream(seen_->path() + "/script") << R"(set -e
cd $S
for name in floor full; do mkdir -p $R/$name; done
mount -t tmpfs -o size=20m ktr $R/floor
mount -t tmpfs -o size=10m ktr $R/full
$K server start --root $R
for name in floor full; do
  $K record --root $R --recorder $name --min-free 0 1=before.mp4
done
$K record --root $R --recorder floor --min-free 12MiB --frame-log floor.in 1=floor.mp4 2>floor.log &
p=$!
$K record --root $R --recorder full --min-free 3MiB --frame-log full.in 1=full.mp4 2>full.log
wait $p
mount -o remount,size=40m ktr $R/full
$K record --root $R --recorder full --min-free 0 1=before.mp4 2>full.again
for name in floor full; do
  $K sessions --root $R --recorder $name --json >$name.sessions
  $K play --root $R --recorder $name --stream 1 --at -10m -o $name.mkv --frame-log $name.played
done
)";
    const int status =
        shell("S=" + seen_->path() + "; export S K R; " + isolated + " sh $S/script");
    shell("$K server stop --root $R");
    return status;
  }

  static std::unique_ptr<TempDir> seen_;
};

std::unique_ptr<TempDir> SmallDiskTest::seen_;

}  // namespace

TEST_F(SmallDiskTest, TheOldestGoesWhileTheRecordingGoesOn) {
  EXPECT_THAT(seen("floor.log"),
              testing::ContainsRegex("warning: retention: deleted session 1, stream 1, [^\n]*: "
                                     "[67]\\.[0-9] MiB: [0-9.]+ MiB of the disk are free, 12.0 MiB "
                                     "are to be\n"));
  EXPECT_THAT(seen("floor.log"), Not(HasSubstr("frames lost")));
  const json all = sessions("floor");
  ASSERT_EQ(1U, all.size());
  EXPECT_EQ(2, all[0]["id"]);
  EXPECT_NE("", seen("floor.in.1"));
  EXPECT_EQ(seen("floor.in.1"), seen("floor.played"));
}

TEST_F(SmallDiskTest, ADiskThatWasFullGetsRoomAndTheRecordingBeginsAgain) {
  const std::string log = seen("full.log");
  const size_t full = log.find("error: writeKTRData: NULL");
  const size_t deleted = log.find("warning: retention: deleted session 1, stream 1, ");
  ASSERT_NE(std::string::npos, full) << log;
  ASSERT_NE(std::string::npos, deleted) << log;
  EXPECT_LT(full, deleted);
  const json all = sessions("full");
  ASSERT_FALSE(all.empty());
  EXPECT_NE(1, all[0]["id"]);
  EXPECT_THAT(log, Not(HasSubstr("frames lost")));
  // What found no room waited beside the full disk for the next recording.
  EXPECT_NE("", seen("full.in.1"));
  EXPECT_THAT(seen("full.played"), testing::StartsWith(seen("full.in.1"))) << log;
}

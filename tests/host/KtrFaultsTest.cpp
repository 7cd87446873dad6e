#include <cerrno>
#include <filesystem>

#include "tests/host/ProgramFixture.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/TestClip.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/** The real program on files that fail it. */
class KtrFaultsTest : public ProgramFixture {
 protected:
  void TearDown() override { EXPECT_FALSE(isRunning()); }

  // What stands before $K for it to meet faults.
  static std::string with(const std::string& faults) {
    const fs::path bin = fs::read_symlink("/proc/self/exe").parent_path();
    return "ASAN_OPTIONS=$ASAN_OPTIONS:verify_asan_link_order=0 KTR_FAULTS='" + faults +
           "' LD_PRELOAD=" + (bin.parent_path() / "lib/libktr_faults.so").string() + " ";
  }
  static std::string fault(const std::string& call, const std::string& path, int error,
                           unsigned int bytes, FaultCalls::Turn turn) {
    return FaultCalls::text(call, path, error, bytes, turn) + "\n";
  }
  std::string record(const std::string& recorder) {
    return "$K record --root $R --recorder " + recorder +
           " --frame-log $D/in 1=" + TestClip::make(path("clip.mp4"), {.seconds = 1});
  }
  static std::string play(const std::string& recorder) {
    return "$K play --root $R --recorder " + recorder +
           " --stream 1 --at -10m -o $D/all.mkv --frame-log $D/played";
  }
};

}  // namespace

TEST_F(KtrFaultsTest, ShortAndInterruptedWritesAndReadsLoseNothing) {
  const std::string faults =
      fault("open", "_F0.dat", EINTR, 0, {1, 2}) + fault("pwrite", "_F0.dat", 0, 100, {1, 5}) +
      fault("pwrite", "_F0.dat", EINTR, 0, {6, 5}) + fault("pread", "_F0.dat", 0, 100, {1, 5}) +
      fault("pread", "_F0.dat", EINTR, 0, {6, 5});
  SCOPED_TRACE(faults);
  ASSERT_EQ(0, shell(with(faults) + record("short"))) << err();
  ASSERT_EQ(0, shell(with(faults) + play("short"))) << err();
  EXPECT_NE("", contents("played"));
  EXPECT_EQ(contents("in.1"), contents("played"));
}

TEST_F(KtrFaultsTest, FramesInFrontOfABadPlaceOfTheDiskArePlayedAndThePlaceIsNamed) {
  const std::string faults = fault("pread", "_F0.dat", 0, 5000, {1, 1}) +
                             fault("pread", "_F0.dat", EIO, 0, {2, FaultCalls::ALWAYS});
  SCOPED_TRACE(faults);
  ASSERT_EQ(0, shell(record("bad"))) << err();
  (void)shell(with(faults) + play("bad"));
  EXPECT_THAT(err(), HasSubstr("error: KTRFile "));
  EXPECT_THAT(err(), HasSubstr("_R1_F0.dat read Failed !!!!\n"));
  const std::string played = contents("played");
  EXPECT_NE("", played);
  EXPECT_LT(played.size(), contents("in.1").size());
  EXPECT_EQ(played, contents("in.1").substr(0, played.size()));
}

TEST_F(KtrFaultsTest, NoRoomForADirectoryIsSaid) {
  const std::string faults = fault("mkdir", "/none/", ENOSPC, 0, {1, FaultCalls::ALWAYS});
  SCOPED_TRACE(faults);
  EXPECT_EQ(1, shell(with(faults) + record("none")));
  EXPECT_THAT(err(), HasSubstr(" creation failed \n"));
  EXPECT_THAT(err(), HasSubstr("error: Cant Create Directory !!\n"));
}

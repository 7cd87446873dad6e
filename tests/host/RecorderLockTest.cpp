#include "host/RecorderLock.h"

#include <unistd.h>

#include <optional>

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

namespace {

class RecorderLockTest : public testing::Test {
 protected:
  TempDir dir_;
  StorageRoot root_ = StorageRoot::parse(dir_.path());
  RecorderName cam_ = RecorderName::parse("cam");
};

}  // namespace

TEST_F(RecorderLockTest, KeepsASecondRecordingOut) {
  const RecorderLock lock(root_, cam_);
  EXPECT_THAT(failureOf([&] { return RecorderLock(root_, cam_); }),
              testing::HasSubstr("process " + std::to_string(getpid()) + ": stop that one"));
}

TEST_F(RecorderLockTest, IsForOneRecorder) {
  const RecorderLock lock(root_, cam_);
  const RecorderLock other(root_, RecorderName::parse("cam2"));
  EXPECT_TRUE(RecorderLock::isHeld(root_, cam_));
}

TEST_F(RecorderLockTest, EndsWithItsObject) {
  EXPECT_FALSE(RecorderLock::isHeld(root_, cam_));
  {
    const RecorderLock lock(root_, cam_);
    EXPECT_TRUE(RecorderLock::isHeld(root_, cam_));
  }
  EXPECT_FALSE(RecorderLock::isHeld(root_, cam_));
  const RecorderLock again(root_, cam_);
}

TEST_F(RecorderLockTest, SaysWhyTheDirectoryCannotBeMade) {
  const StorageRoot nowhere = StorageRoot::parse("/dev/null/x");
  EXPECT_THAT(failureOf([&] { return RecorderLock(nowhere, cam_); }),
              testing::HasSubstr("/dev/null/x/cam"));
}

#include "host/retain/FileSystemSpace.h"

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

TEST(FileSystemSpaceTest, TellsWhatADirectoryMayStillHold) {
  const TempDir dir;
  const FileSystemSpace space = FileSystemSpace::at(dir.path());
  EXPECT_GT(space.whole, 0U);
  EXPECT_LE(space.free, space.whole);
}

TEST(FileSystemSpaceTest, SaysWhyItCannotTell) {
  EXPECT_THAT(failureOf([] { return FileSystemSpace::at("/nowhere/at/all"); }),
              testing::AllOf(testing::HasSubstr("/nowhere/at/all"), testing::HasSubstr("No such")));
}

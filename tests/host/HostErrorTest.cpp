#include "host/HostError.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(HostErrorTest, SaysWhatIsWrongAndWhatToDo) {
  const HostError error = failure("the disk is full", "make room");
  EXPECT_STREQ("the disk is full: make room", error.what());
  EXPECT_EQ(HostError::Failed, error.status());
}

TEST(HostErrorTest, UsageHasItsOwnStatus) {
  EXPECT_EQ(HostError::Usage, usageError("wrong", "right").status());
}

TEST(HostErrorTest, StaysOnOneLineWhateverTheInputHolds) {
  EXPECT_STREQ("'a?b?[2Jc' is wrong: do this",
               failure("'a\nb\x1b[2Jc' is wrong", "do this").what());
}

TEST(HostErrorTest, SystemFailureTellsTheCause) {
  errno = ENOSPC;
  EXPECT_STREQ("cannot write (No space left on device): make room",
               systemFailure("cannot write", "make room").what());
}

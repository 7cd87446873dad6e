#include "host/system/FileLock.h"

#include <sys/wait.h>

#include <csignal>
#include <fstream>

#include "tests/host/UsageErrors.h"
#include "tests/support/TempDir.h"

namespace {

class FileLockTest : public testing::Test {
 protected:
  /** A process that holds the lock alone until it is killed. */
  pid_t startHolder() {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
      FileLock lock(path_);
      lock.lock(FileLock::Exclusive);
      (void)!write(ends[1], "x", 1);
      for (;;) pause();
    }
    char ready = 0;
    EXPECT_EQ(1, read(ends[0], &ready, 1));
    close(ends[0]);
    close(ends[1]);
    return child;
  }

  TempDir dir_;
  std::string path_ = dir_.path() + "/lock";
};

}  // namespace

TEST_F(FileLockTest, ManyShareOneExcludes) {
  FileLock one(path_), two(path_), three(path_);
  EXPECT_TRUE(one.tryLock(FileLock::Shared));
  EXPECT_TRUE(two.tryLock(FileLock::Shared));
  EXPECT_FALSE(three.tryLock(FileLock::Exclusive));
  two.unlock();
  EXPECT_TRUE(one.tryLock(FileLock::Exclusive));
  EXPECT_FALSE(two.tryLock(FileLock::Shared));
}

TEST_F(FileLockTest, EndsWithItsObject) {
  { FileLock(path_).lock(FileLock::Exclusive); }
  EXPECT_TRUE(FileLock(path_).tryLock(FileLock::Exclusive));
}

TEST_F(FileLockTest, MovesToAnotherObject) {
  FileLock one(path_);
  one.lock(FileLock::Exclusive);
  const FileLock two = std::move(one);
  EXPECT_FALSE(FileLock(path_).tryLock(FileLock::Shared));
}

TEST_F(FileLockTest, EndsWithAKilledProcess) {
  const pid_t holder = startHolder();
  FileLock lock(path_);
  EXPECT_FALSE(lock.tryLock(FileLock::Shared));
  kill(holder, SIGKILL);
  waitpid(holder, nullptr, 0);
  EXPECT_TRUE(lock.tryLock(FileLock::Exclusive));
}

TEST_F(FileLockTest, TellsWhatTheHolderWrote) {
  FileLock lock(path_);
  lock.writeText("something long");
  lock.writeText("4711");
  EXPECT_EQ("4711", FileLock::readText(path_));
  EXPECT_EQ("", FileLock::readText(path_ + ".none"));
}

TEST_F(FileLockTest, SaysWhyItCannotBeOpened) {
  EXPECT_THAT(failureOf([&] { return FileLock(dir_.path() + "/none/lock"); }),
              testing::HasSubstr("No such file or directory"));
}

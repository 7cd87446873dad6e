#include "host/repair/DurableFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>

#include "host/HostError.h"
#include "tests/host/SliceFixture.h"
#include "tests/support/FaultCalls.h"

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::ThrowsMessage;

namespace {

class DurableFileTest : public SliceFixture {
 protected:
  static void fill(DurableFile& file, const std::string& text) {
    file.write({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    file.finish();
  }
  static void setTimes(const std::string& path, long seconds) {
    const timespec times[] = {{seconds, 5}, {seconds, 7}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
  }
  static struct stat look(const std::string& path) {
    struct stat found {};
    EXPECT_EQ(0, stat(path.c_str(), &found));
    return found;
  }

  const std::string path_ = dir_.path() + "/file";
};

}  // namespace

TEST_F(DurableFileTest, ReplacesAFileOfTheName) {
  write(path_, "what was there before");
  DurableFile file(path_, DurableFile::Replace);
  fill(file, "new");
  EXPECT_EQ("new", contents(path_));
}

TEST_F(DurableFileTest, AUniqueFileTakesNoNameThatIsInUse) {
  for (const char* name : {"", ".2", ".3"}) {
    DurableFile file(path_, DurableFile::Unique);
    fill(file, name);
    EXPECT_EQ(path_ + name, file.path());
  }
  EXPECT_EQ("", contents(path_));
  EXPECT_EQ(".3", contents(path_ + ".3"));
}

TEST_F(DurableFileTest, ShortWritesAreFinished) {
  FaultCalls faults;
  faults.fail("write", path_, EINTR);
  DurableFile file(path_, DurableFile::Replace);
  fill(file, "all of it");
  EXPECT_EQ("all of it", contents(path_));
  EXPECT_EQ(1U, faults.count());
}

TEST_F(DurableFileTest, NamesTheFileThatTheDiskRefuses) {
  FaultCalls faults;
  faults.fail("fsync", path_, EIO);
  DurableFile file(path_, DurableFile::Replace);
  EXPECT_THAT([&] { fill(file, "x"); }, ThrowsMessage<HostError>(HasSubstr(path_)));
  faults.fail("write", path_, ENOSPC);
  EXPECT_THROW(fill(file, "x"), HostError);
  EXPECT_THROW(DurableFile("/nowhere/file", DurableFile::Replace), HostError);
  EXPECT_THROW(DurableFile::rename(path_ + ".none", path_), HostError);
  EXPECT_THROW(DurableFile::truncate(path_ + ".none", 1), HostError);
}

TEST_F(DurableFileTest, CuttingKeepsTheTimeOfTheLastWriting) {
  write(path_, "0123456789");
  setTimes(path_, NOON);
  DurableFile::truncate(path_, 4);
  EXPECT_EQ("0123", contents(path_));
  EXPECT_EQ(NOON, look(path_).st_mtim.tv_sec);
  EXPECT_EQ(7, look(path_).st_mtim.tv_nsec);
}

TEST_F(DurableFileTest, CopiesRightsAndTimes) {
  write(path_, "old");
  fs::permissions(path_, fs::perms(0640));
  setTimes(path_, NOON);
  write(path_ + ".new", "new");
  DurableFile::copyAttributes(path_, path_ + ".new");
  EXPECT_EQ(0640U, look(path_ + ".new").st_mode & 0777U);
  EXPECT_EQ(NOON, look(path_ + ".new").st_mtim.tv_sec);
}

TEST_F(DurableFileTest, NamesAreSyncedWhenTheyChange) {
  write(path_, "x");
  FaultCalls faults;
  faults.fail("fsync", dir_.path(), EIO, {1, FaultCalls::ALWAYS});
  EXPECT_THROW(DurableFile::rename(path_, path_ + ".new"), HostError);
  EXPECT_THROW(DurableFile::touch(path_), HostError);
  EXPECT_THROW(DurableFile::syncDirectoryOf(path_), HostError);
  EXPECT_EQ(3U, faults.count());
}

TEST_F(DurableFileTest, TouchingLeavesWhatIsThere) {
  write(path_, "x");
  DurableFile::touch(path_);
  EXPECT_EQ("x", contents(path_));
  DurableFile::remove(path_);
  DurableFile::remove(path_);
  DurableFile::touch(path_);
  EXPECT_EQ("", contents(path_));
}

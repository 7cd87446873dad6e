#include "runtime/KTFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <typeinfo>

#include "tests/support/TempDir.h"

namespace {

constexpr int CREATE = O_RDWR | O_CREAT;

class KTFileTest : public testing::Test {
 protected:
  KTFileTest() : path_(dir_.entry("data")), file_(path_) {}

  static KTDataBlock block(const std::string& text) { return KTString(text).dataBlock(); }
  static std::string text(const KTDataBlock& b) {
    return std::string(reinterpret_cast<const char*>(b.data), b.size);
  }

  void create(const std::string& content) {
    ASSERT_EQ(file_.open(CREATE, 0644), 0);
    ASSERT_EQ(file_.write(block(content)), static_cast<int>(content.size()));
    ASSERT_EQ(file_.pos(0), 0);
  }
  std::string get(unsigned int n) {
    KTDataBlock b(0);
    const int got = file_.read(b, n);
    EXPECT_EQ(got, static_cast<int>(b.size));
    return text(b);
  }
  [[nodiscard]] bool onDisk() const { return access(path_.c_str(), F_OK) == 0; }

  TempDir dir_;
  KTString path_;
  KTFile file_;
};

TEST_F(KTFileTest, TheFlagsOfAWriterAreReadWriteAndCreate) {
  static_assert(CREATE == 66);
  static_assert(KTFile::DEFAULT_MODE == 420);
}

TEST_F(KTFileTest, KnowsItsPath) {
  EXPECT_TRUE(KTFile().name().empty());
  EXPECT_TRUE(file_.name() == path_);
  file_.name("/elsewhere");
  EXPECT_STREQ(file_.name().c_str(), "/elsewhere");
}

TEST_F(KTFileTest, IsClosedFromTheStart) {
  EXPECT_FALSE(file_.opened());
  EXPECT_EQ(file_.handle(), -1);
  EXPECT_EQ(file_.pos(), 0);
}

TEST_F(KTFileTest, CreatesTheFileWithItsMode) {
  const mode_t former = umask(0);
  EXPECT_EQ(file_.open(CREATE, 0644), 0);
  umask(former);
  struct stat status {};
  ASSERT_EQ(fstat(file_.handle(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0644U);
  EXPECT_TRUE(file_.opened());
}

TEST_F(KTFileTest, OpeningAMissingPathFails) {
  EXPECT_NE(file_.open(0, 0644), 0);
  EXPECT_FALSE(file_.opened());
  EXPECT_FALSE(onDisk());
}

TEST_F(KTFileTest, OpensAgainWithTheFlagsLastGiven) {
  create("abc");
  file_.close();
  EXPECT_EQ(file_.open(), 0);
  EXPECT_EQ(file_.write(block("x")), 1);
  EXPECT_EQ(get(10), "bc");
}

TEST_F(KTFileTest, OpensTheNewPathAfterARename) {
  create("abc");
  file_.name(dir_.entry("other"));
  EXPECT_EQ(file_.open(), 0);
  EXPECT_EQ(get(10), "");
  EXPECT_EQ(access(dir_.entry("other").c_str(), F_OK), 0);
}

TEST_F(KTFileTest, AnOpenFileIsClosedBeforeItIsOpenedAnew) {
  create("abc");
  const int former = file_.handle();
  EXPECT_EQ(file_.open(0, 0644), 0);
  EXPECT_EQ(file_.handle(), former);  // the lowest free descriptor again
  EXPECT_EQ(file_.pos(), 0);
}

TEST_F(KTFileTest, CloseIsHarmlessWhenClosed) {
  file_.close();
  create("abc");
  file_.close();
  file_.close();
  EXPECT_FALSE(file_.opened());
}

TEST_F(KTFileTest, TheDestructorCloses) {
  int handle = -1;
  {
    KTFile file(path_);
    ASSERT_EQ(file.open(CREATE, 0644), 0);
    handle = file.handle();
  }
  EXPECT_EQ(fcntl(handle, F_GETFD), -1);
}

TEST_F(KTFileTest, DescriptorsStayInThisProcess) {
  create("abc");
  EXPECT_NE(fcntl(file_.handle(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(KTFileTest, ReadsUpToWhatIsAskedForAndAdvances) {
  create("hello world");
  EXPECT_EQ(get(5), "hello");
  EXPECT_EQ(file_.pos(), 5);
  EXPECT_EQ(get(100), " world");
  EXPECT_EQ(file_.pos(), 11);
}

TEST_F(KTFileTest, ReadsNothingAtTheEnd) {
  create("abc");
  EXPECT_EQ(get(3), "abc");
  KTDataBlock b(7);
  EXPECT_EQ(file_.read(b, 4096), 0);
  EXPECT_EQ(b.size, 0U);
}

TEST_F(KTFileTest, ReadsAsMuchAsTheBlockHolds) {
  create("hello");
  KTDataBlock b(2);
  EXPECT_EQ(file_.read(b), 2);
  EXPECT_EQ(text(b), "he");
}

TEST_F(KTFileTest, AReadShowsInNoCopyOfTheBlock) {
  create("new");
  KTDataBlock b = block("old");
  const KTDataBlock copy(b);
  EXPECT_EQ(file_.read(b, 3), 3);
  EXPECT_EQ(text(b), "new");
  EXPECT_EQ(text(copy), "old");
}

TEST_F(KTFileTest, ReadsTenMebibytesAtOnce) {
  create(std::string(10485761, 'x'));
  EXPECT_EQ(get(10485760).size(), 10485760U);
  EXPECT_EQ(get(10485760).size(), 1U);
}

TEST_F(KTFileTest, FailedReadsAndWritesAreNegativeAndMoveNothing) {
  create("abc");
  ASSERT_EQ(file_.open(0, 0644), 0);
  ASSERT_EQ(file_.pos(1), 0);
  EXPECT_LT(file_.write(block("x")), 0);
  EXPECT_EQ(file_.pos(), 1);
  file_.close();
  KTDataBlock b(3);
  EXPECT_LT(file_.read(b, 3), 0);
  EXPECT_EQ(b.size, 0U);
  EXPECT_LT(file_.write(block("x")), 0);
}

TEST_F(KTFileTest, WritesTheFirstBytesOfABlock) {
  create("");
  EXPECT_EQ(file_.write(block("hello"), 2), 2);
  EXPECT_EQ(file_.pos(), 2);
  EXPECT_EQ(file_.write(KTDataBlock(0)), 0);
  ASSERT_EQ(file_.pos(0), 0);
  EXPECT_EQ(get(100), "he");
}

TEST_F(KTFileTest, OverwritesWithoutTruncation) {
  create("hello");
  ASSERT_EQ(file_.open(CREATE, 0644), 0);
  EXPECT_EQ(file_.write(block("J")), 1);
  ASSERT_EQ(file_.pos(0), 0);
  EXPECT_EQ(get(100), "Jello");
}

TEST_F(KTFileTest, TruncationCutsAndLengthens) {
  create("hello");
  ASSERT_EQ(file_.open(CREATE, 0644), 0);
  EXPECT_EQ(file_.truncate(2), 0);
  EXPECT_EQ(get(100), "he");
  EXPECT_EQ(file_.truncate(3), 0);
  EXPECT_EQ(file_.pos(), 2);
  EXPECT_EQ(get(100), std::string(1, '\0'));
  file_.close();
  EXPECT_EQ(file_.truncate(0), -1);
}

TEST_F(KTFileTest, MovesToAnAbsolutePosition) {
  create("hello");
  EXPECT_EQ(file_.pos(3), 0);
  EXPECT_EQ(get(100), "lo");
  EXPECT_EQ(file_.pos(100), 0);
  EXPECT_EQ(get(100), "");
}

TEST_F(KTFileTest, MovesNowhereWhenClosedOrNegative) {
  EXPECT_EQ(file_.pos(0), -1);
  create("hello");
  EXPECT_EQ(file_.pos(-1), -1);
  EXPECT_EQ(file_.pos(), 0);
}

TEST_F(KTFileTest, AClosedFileStandsAtZero) {
  create("hello");
  ASSERT_EQ(file_.pos(3), 0);
  file_.close();
  EXPECT_EQ(file_.pos(), 0);
}

TEST_F(KTFileTest, RemoveClosesAndDeletes) {
  create("hello");
  EXPECT_EQ(file_.remove(), 0);
  EXPECT_FALSE(file_.opened());
  EXPECT_FALSE(onDisk());
  EXPECT_NE(file_.remove(), 0);
}

TEST_F(KTFileTest, HasRunTimeTypeAndVirtualOperations) {
  class Closed : public KTFile {
   public:
    [[nodiscard]] bool opened() const override { return true; }
  };
  const Closed closed;
  const KTFile& file = closed;
  EXPECT_TRUE(file.opened());
  EXPECT_EQ(typeid(file), typeid(Closed));
}

}  // namespace

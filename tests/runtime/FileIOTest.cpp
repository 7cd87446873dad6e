#include "runtime/FileIO.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/support/FaultCalls.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TempDir.h"

namespace {

class FileIOTest : public testing::Test {
 protected:
  void SetUp() override {
    fd_ = open(dir_.entry("data").c_str(), O_RDWR | O_CREAT, 0644);
    ASSERT_GE(fd_, 0);
  }
  void TearDown() override { ::close(fd_); }

  [[nodiscard]] ssize_t put(const std::string& text, off_t offset) const {
    return writeFully(fd_, reinterpret_cast<const unsigned char*>(text.data()), text.size(),
                      offset);
  }
  [[nodiscard]] std::string get(size_t n, off_t offset) const {
    std::string text(n, '?');
    const ssize_t got = readFully(fd_, reinterpret_cast<unsigned char*>(text.data()), n, offset);
    return got < 0 ? "failed" : text.substr(0, static_cast<size_t>(got));
  }

  TempDir dir_;
  int fd_ = -1;
};

TEST_F(FileIOTest, WritesAndReadsAtOffsets) {
  EXPECT_EQ(put("hello", 3), 5);
  EXPECT_EQ(get(5, 3), "hello");
  EXPECT_EQ(get(3, 5), "llo");
}

TEST_F(FileIOTest, ReadsLessOnlyAtTheEnd) {
  EXPECT_EQ(put("hello", 0), 5);
  EXPECT_EQ(get(100, 2), "llo");
  EXPECT_EQ(get(100, 5), "");
  EXPECT_EQ(get(100, 500), "");
}

TEST_F(FileIOTest, NothingIsReadOrWrittenWhenNothingIsAskedFor) {
  EXPECT_EQ(put("", 0), 0);
  EXPECT_EQ(get(0, 0), "");
  EXPECT_EQ(lseek(fd_, 0, SEEK_END), 0);
}

TEST_F(FileIOTest, AWriteThatStopsHalfWayFailsWithItsCause) {
  const FileSizeLimit limit(10);
  EXPECT_EQ(put(std::string(25, 'x'), 0), -1);
  EXPECT_EQ(errno, EFBIG);
}

TEST_F(FileIOTest, AFailedTransferTellsItsCause) {
  unsigned char byte = 0;
  EXPECT_EQ(readFully(-1, &byte, 1, 0), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(writeFully(-1, &byte, 1, 0), -1);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(FileIOTest, ShortAndInterruptedTransfersAreCarriedThrough) {
  FaultCalls faults;
  for (const char* call : {"pwrite", "pread"}) {
    faults.shorten(call, "/data", 2, {1, 3});
    faults.fail(call, "/data", EINTR, {4, 2});
  }
  EXPECT_EQ(put("hello, world", 0), 12);
  EXPECT_EQ(get(12, 0), "hello, world");
  EXPECT_EQ(faults.count(), 10U);
}

TEST_F(FileIOTest, ReadsUpToAPlaceThatCannotBeRead) {
  FaultCalls faults;
  EXPECT_EQ(put("hello", 0), 5);
  faults.shorten("pread", "/data", 3, {1, 1});
  faults.fail("pread", "/data", EIO, {2, FaultCalls::ALWAYS});
  EXPECT_EQ(get(5, 0), "hel");
  EXPECT_EQ(get(2, 3), "failed");
}

}  // namespace

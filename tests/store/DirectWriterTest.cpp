#include "store/DirectWriter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/FaultCalls.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TempDir.h"

namespace {

constexpr size_t PAGE = DirectWriter::PAGE_BYTES;
constexpr size_t LEAST = DirectWriter::LEAST_DIRECT;
constexpr size_t ROOM = 8 * LEAST;

class DirectWriterTest : public testing::Test {
 protected:
  DirectWriterTest()
      : memory_(static_cast<unsigned char*>(
            mmap(nullptr, ROOM, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    for (size_t i = 0; i < ROOM; ++i) memory_[i] = static_cast<unsigned char>(i * 31 + i / PAGE);
    openNew("data");
  }
  ~DirectWriterTest() override {
    ::close(fd_);
    munmap(memory_, ROOM);
  }

  void openNew(const std::string& name) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = ::open(dir_.entry(name.c_str()).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    expected_.clear();
  }
  // Writes n bytes that stand in their page as `offset` does, moved by `shift`.
  ssize_t write(size_t n, size_t offset, size_t shift = 0) {
    const unsigned char* src = memory_ + offset % PAGE + shift;
    const ssize_t put = writer_.write(fd_, src, n, static_cast<off_t>(offset));
    if (put >= 0) expect(src, n, offset);
    return put;
  }
  void expect(const unsigned char* src, size_t n, size_t offset) {
    if (n == 0) return;
    if (expected_.size() < offset + n) expected_.resize(offset + n);
    expected_.replace(offset, n, reinterpret_cast<const char*>(src), n);
  }
  [[nodiscard]] bool isExact() const {
    std::string content(expected_.size() + 1, '?');
    const ssize_t got = pread(fd_, content.data(), content.size(), 0);
    return got == static_cast<ssize_t>(expected_.size()) &&
           std::memcmp(content.data(), expected_.data(), expected_.size()) == 0;
  }
  // Lets all pwrites pass, counted by FaultCalls::count().
  void watchWrites() { faults_.shorten("pwrite", "/data", ~0U, {1, FaultCalls::ALWAYS}); }
  [[nodiscard]] size_t cachedPages(size_t offset, size_t n) const {
    void* mapped = mmap(nullptr, n, PROT_READ, MAP_SHARED, fd_, static_cast<off_t>(offset));
    std::vector<unsigned char> resident(n / PAGE);
    EXPECT_EQ(mincore(mapped, n, resident.data()), 0);
    munmap(mapped, n);
    size_t count = 0;
    for (const unsigned char page : resident) count += page & 1U;
    return count;
  }

  TempDir dir_;
  FaultCalls faults_;
  unsigned char* memory_;
  int fd_ = -1;
  DirectWriter writer_;
  std::string expected_;
};

TEST_F(DirectWriterTest, EverySizeAtEveryOffsetIsExact) {
  for (const size_t offset :
       {size_t{0}, size_t{1}, size_t{511}, size_t{512}, PAGE - 1, PAGE, PAGE + 1, size_t{10000}}) {
    for (const size_t n : {size_t{0}, size_t{1}, PAGE, LEAST - 1, LEAST, LEAST + 1,
                           LEAST + PAGE - 1, LEAST + PAGE, LEAST + 2 * PAGE, 3 * LEAST + 777}) {
      openNew("data");
      EXPECT_EQ(write(n, offset), static_cast<ssize_t>(n));
      EXPECT_TRUE(isExact()) << n << " bytes at " << offset;
    }
  }
}

TEST_F(DirectWriterTest, CollectsEverySizeAtEveryPlaceInALineExactly) {
  constexpr size_t LINE = 64;
  for (size_t place = 0; place < 2 * LINE; ++place) {
    for (const size_t n : {size_t{0}, size_t{1}, LINE, PAGE - 1, PAGE, PAGE + 1, PAGE + LINE - 1,
                           2 * PAGE + LINE / 2, size_t{20003}}) {
      std::string room(n + 4 * LINE, '?');
      std::string expected = room;
      const unsigned char* const src = memory_ + place * 7;
      expected.replace(place, n, reinterpret_cast<const char*>(src), n);
      DirectWriter::collect(reinterpret_cast<unsigned char*>(room.data()) + place, src, n);
      ASSERT_EQ(room, expected) << n << " bytes at " << place;
    }
  }
}

TEST_F(DirectWriterTest, WhatWasCollectedIsWrittenAtOnce) {
  unsigned char* const room = memory_ + ROOM / 2;
  for (size_t offset = 0; offset < 64 * LEAST; offset += 2 * LEAST) {
    memory_[offset / LEAST] ^= 0x55;
    DirectWriter::collect(room, memory_, 2 * LEAST);
    ASSERT_EQ(writer_.write(fd_, room, 2 * LEAST, static_cast<off_t>(offset)),
              static_cast<ssize_t>(2 * LEAST));
    expect(memory_, 2 * LEAST, offset);
  }
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, PiecesBehindOneAnotherAreExactAfterEach) {
  size_t offset = 0;
  for (const size_t n : {LEAST + 100, size_t{50}, 2 * LEAST, LEAST + PAGE - 150, 3 * LEAST}) {
    EXPECT_EQ(write(n, offset), static_cast<ssize_t>(n));
    EXPECT_TRUE(isExact()) << n << " bytes at " << offset;
    offset += n;
  }
}

TEST_F(DirectWriterTest, WritingOverWhatTheCacheHoldsIsExact) {
  EXPECT_EQ(write(6 * LEAST, 0, PAGE / 2), static_cast<ssize_t>(6 * LEAST));
  EXPECT_EQ(cachedPages(0, 6 * LEAST), 6 * LEAST / PAGE);
  EXPECT_EQ(write(2 * LEAST, 1000), static_cast<ssize_t>(2 * LEAST));
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, WholePagesLeaveNothingInTheCache) {
  EXPECT_EQ(write(4 * LEAST, 100), static_cast<ssize_t>(4 * LEAST));
  EXPECT_EQ(cachedPages(PAGE, 4 * LEAST - PAGE), 0U);
}

TEST_F(DirectWriterTest, SmallPiecesAreOneWriteThroughTheCache) {
  watchWrites();
  EXPECT_EQ(write(LEAST, 1), static_cast<ssize_t>(LEAST));
  EXPECT_EQ(faults_.count(), 1U);
  EXPECT_GT(cachedPages(0, LEAST), 0U);
}

TEST_F(DirectWriterTest, BytesThatStandOtherwiseAreOneWriteThroughTheCache) {
  watchWrites();
  EXPECT_EQ(write(4 * LEAST, 0, 512), static_cast<ssize_t>(4 * LEAST));
  EXPECT_EQ(faults_.count(), 1U);
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, TheDescriptorsFlagsAreAsBefore) {
  const int before = fcntl(fd_, F_GETFL);
  EXPECT_EQ(write(2 * LEAST, 5), static_cast<ssize_t>(2 * LEAST));
  EXPECT_EQ(fcntl(fd_, F_GETFL), before);
  faults_.fail("pwrite", "/data", EIO, {2, 1});
  EXPECT_EQ(write(2 * LEAST, 5), -1);
  EXPECT_EQ(fcntl(fd_, F_GETFL), before);
}

TEST_F(DirectWriterTest, AFileSystemThatRefusesTheWriteIsAskedOnce) {
  for (const int error : {EINVAL, EOPNOTSUPP, ENOSYS}) {
    writer_ = DirectWriter();
    openNew("data");
    faults_.fail("pwrite", "/data", error, {2, 1});
    EXPECT_EQ(write(2 * LEAST, 5), static_cast<ssize_t>(2 * LEAST));
    EXPECT_TRUE(isExact());
    watchWrites();
    const unsigned int before = faults_.count();
    EXPECT_EQ(write(2 * LEAST, 2 * LEAST + 5), static_cast<ssize_t>(2 * LEAST));
    EXPECT_EQ(faults_.count(), before + 1) << "one write for the second piece";
    EXPECT_TRUE(isExact());
    faults_.restore();
  }
}

TEST_F(DirectWriterTest, AFileSystemThatRefusesTheFlagIsAskedOnce) {
  faults_.fail("fcntl", "/data", EINVAL, {1, FaultCalls::ALWAYS});
  EXPECT_EQ(write(2 * LEAST, 5), static_cast<ssize_t>(2 * LEAST));
  EXPECT_EQ(write(2 * LEAST, 2 * LEAST + 5), static_cast<ssize_t>(2 * LEAST));
  EXPECT_EQ(faults_.count(), 1U);
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, AFileSystemInMemoryIsExact) {
  const SmallFileSystem small(dir_.path(), 4 << 20);
  openNew("data");
  EXPECT_EQ(write(3 * LEAST, 77), static_cast<ssize_t>(3 * LEAST));
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, AShortWriteGoesOnThroughTheCache) {
  faults_.shorten("pwrite", "/data", 3 * 512, {2, 1});
  EXPECT_EQ(write(2 * LEAST, 5), static_cast<ssize_t>(2 * LEAST));
  EXPECT_EQ(faults_.count(), 1U);
  EXPECT_TRUE(isExact());
  EXPECT_EQ(write(2 * LEAST, 2 * LEAST + 5), static_cast<ssize_t>(2 * LEAST));
  EXPECT_EQ(cachedPages(2 * LEAST + PAGE, 2 * LEAST - PAGE), 0U) << "that was no refusal";
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, AnInterruptedWriteIsCarriedThrough) {
  faults_.fail("pwrite", "/data", EINTR, {1, 4});
  EXPECT_EQ(write(2 * LEAST, 0), static_cast<ssize_t>(2 * LEAST));
  EXPECT_TRUE(isExact());
}

TEST_F(DirectWriterTest, WithoutRoomForAllPagesTheCacheTakesWhatItCan) {
  for (const int error : {ENOSPC, EDQUOT, ENOMEM}) {
    openNew("data");
    faults_.fail("pwrite", "/data", error, {2, 1});
    EXPECT_EQ(write(2 * LEAST, 5), static_cast<ssize_t>(2 * LEAST));
    EXPECT_TRUE(isExact());
    faults_.restore();
  }
}

TEST_F(DirectWriterTest, WithoutAnyRoomItFailsWithItsCause) {
  faults_.fail("pwrite", "/data", ENOSPC, {2, FaultCalls::ALWAYS});
  EXPECT_EQ(write(2 * LEAST, 5), -1);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(DirectWriterTest, ADiskThatFailsIsNotTriedThroughTheCache) {
  for (const int error : {EIO, EREMOTEIO, ENODATA}) {
    for (const unsigned int turn : {1U, 2U, 3U}) {
      faults_.fail("pwrite", "/data", error, {turn, 1});
      EXPECT_EQ(write(2 * LEAST, 5), -1) << "in the head, the pages, the tail";
      EXPECT_EQ(errno, error);
      faults_.restore();
    }
  }
}

TEST_F(DirectWriterTest, AClosedDescriptorFailsWithItsCause) {
  EXPECT_EQ(writer_.write(-1, memory_, 2 * LEAST, 0), -1);
  EXPECT_EQ(errno, EBADF);
}

}  // namespace

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "store/KTRFile.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/ResidentMemory.h"
#include "tests/support/SmallFileSystem.h"
#include "tests/support/TempDir.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned int MIB = 1U << 20;

/** What a flush leaves in a slice, of every size and wherever it begins. */
class KTRFile_flushTest : public testing::Test {
 protected:
  [[nodiscard]] std::string slice(unsigned int index) const {
    return dir_.path() + "/cam_F" + std::to_string(index) + ".dat";
  }
  [[nodiscard]] static std::string content(const std::string& path) {
    std::string bytes(fs::file_size(path), '?');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<long>(bytes.size()));
    return bytes;
  }
  // Of this process's memory, what the kernel was told to take large pages for.
  [[nodiscard]] static size_t bytesForLargePages() {
    std::ifstream maps("/proc/self/smaps");
    size_t size = 0;
    size_t sum = 0;
    for (std::string line; std::getline(maps, line);) {
      if (line.rfind("Size:", 0) == 0) size = std::stoul(line.substr(5)) << 10;
      if (line.rfind("VmFlags:", 0) == 0 && line.find(" hg") != std::string::npos) sum += size;
    }
    return sum;
  }
  void openWriter(int sliceMaxSize = 0x7FFFFFFF, unsigned char index = 0) {
    writer_ =
        std::make_unique<KTRFile>(dir_.entry("cam_"), index, KTRFile::WRITE_FLAGS, sliceMaxSize);
    expected_.clear();
  }
  // Appends a frame to the writer, and what stands for it on disk to expected_.
  void append(unsigned int size) {
    KTDataBlock frame(size);
    unsigned char* bytes = frame.writable();
    const unsigned int seed = ++frames_ * 77;
    for (unsigned int i = 0; i < size; ++i)
      bytes[i] = static_cast<unsigned char>(seed + i + i / 250);
    ASSERT_EQ(writer_->writeKTRData(frame), 0);
    expected_ += "\xA7\xA6\xA5\xA4";
    for (int shift = 0; shift < 32; shift += 8) expected_ += static_cast<char>(size >> shift);
    expected_.append(reinterpret_cast<const char*>(bytes), size);
  }
  int flush(unsigned int size, unsigned int frameSize = 20000) {
    for (unsigned int done = 0; done < size; done += frameSize) append(frameSize);
    return writer_->_writeWriteBuffer();
  }
  void expectExact(const std::string& why = "") const {
    EXPECT_TRUE(content(slice(0)) == expected_) << why;
  }

  TempDir dir_;
  ManualClock clock_;
  LogCapture log_;
  FaultCalls faults_;
  unsigned int frames_ = 0;
  std::unique_ptr<KTRFile> writer_;
  std::string expected_;
};

TEST_F(KTRFile_flushTest, EveryFlushIsExactInTheFile) {
  openWriter();
  for (const unsigned int size : {100U, 300'000U, 4096U, 262'144U, 700'000U, 1U, 3 * MIB,
                                  5'500'000U, 50'000U, 262'145U, 2 * MIB}) {
    ASSERT_EQ(flush(size, size % 2 == 0 ? 20'000 : 7'777), 0);
    expectExact("a flush of about " + std::to_string(size));
  }
}

TEST_F(KTRFile_flushTest, AFlushThatEndsWithAPageIsExact) {
  openWriter();
  append(262'144 - 8);
  ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  append(262'144 - 8);
  ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  expectExact();
}

TEST_F(KTRFile_flushTest, AMovedPositionIsWhereTheBufferGoes) {
  openWriter();
  append(600'000);
  ASSERT_EQ(writer_->pos(1234), 0);
  ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  EXPECT_TRUE(content(slice(0)) == std::string(1234, '\0') + expected_);
}

TEST_F(KTRFile_flushTest, ReadersOfTheLiveFileSeeWhatWasFlushedAndNothingElse) {
  openWriter();
  expected_.reserve(40 * MIB);  // stays where it is while it grows
  std::atomic<size_t> flushed{0};
  std::atomic<bool> done{false};
  unsigned int wrong = 0;
  std::thread reader([this, &flushed, &done, &wrong, bytes = expected_.data()] {
    for (bool last = false; !last;) {
      last = done;
      const size_t known = flushed;
      const std::string seen = content(slice(0));
      if (seen.compare(0, known, bytes, known) != 0) ++wrong;
    }
  });
  for (unsigned int i = 0; i < 12; ++i) {
    EXPECT_EQ(flush(1'500'000 + i * 11'111), 0);
    flushed = expected_.size();
  }
  done = true;
  reader.join();
  EXPECT_EQ(wrong, 0U);
}

TEST_F(KTRFile_flushTest, OtherProcessesSeeWhatWasFlushed) {
  openWriter();
  for (const unsigned int size : {700'000U, 300U, 2 * MIB}) {
    ASSERT_EQ(flush(size), 0);
    std::ofstream(dir_.path() + "/expected", std::ios::binary) << expected_;
    const std::string compare = "cmp " + slice(0) + " " + dir_.path() + "/expected";
    EXPECT_EQ(std::system(compare.c_str()), 0);
  }
}

TEST_F(KTRFile_flushTest, ASliceThatIsUsedAgainIsWrittenOverExactly) {
  const std::string old(4 * MIB, 'o');
  std::ofstream(slice(0), std::ios::binary) << old;
  openWriter();
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(flush(1'234'567), 0);
    EXPECT_TRUE(content(slice(0)) == expected_ + old.substr(expected_.size()));
  }
}

TEST_F(KTRFile_flushTest, SlicesOfAChainAreExact) {
  openWriter(1'000'000);
  for (unsigned int i = 0; i < 4; ++i) {
    ASSERT_EQ(flush(1'100'000 + i), 0);
    EXPECT_TRUE(content(slice(i)) == expected_) << i;
    expected_.clear();
  }
}

TEST_F(KTRFile_flushTest, AFileSystemThatRefusesIsNoFailure) {
  faults_.fail("fcntl", slice(0), EINVAL, {1, FaultCalls::ALWAYS});
  openWriter();
  for (int i = 0; i < 3; ++i) ASSERT_EQ(flush(400'000, 100'000), 0);
  EXPECT_EQ(faults_.count(), 1U);
  expectExact();
  EXPECT_EQ(log_.countContaining("KTRFile"), 0U);
}

TEST_F(KTRFile_flushTest, APageThatCannotBeWrittenCostsTheBufferAndMovesNothing) {
  openWriter();
  ASSERT_EQ(flush(700'000), 0);
  const std::string before = expected_;
  faults_.fail("pwrite", slice(0), EIO, {2, 1});
  EXPECT_EQ(flush(700'000), -1);
  EXPECT_EQ(writer_->pos(), static_cast<long>(before.size()));
  EXPECT_TRUE(log_.has(128, "writeKTRData: NULL res:-1 , 700280 bytes"));
  expected_ = before;
  ASSERT_EQ(flush(700'000), 0);
  expectExact("the next flush writes over what was left");
}

TEST_F(KTRFile_flushTest, AFullFileSystemKeepsTheBeginningOfTheFlush) {
  const SmallFileSystem small(dir_.path(), 2 * MIB);
  openWriter();
  ASSERT_EQ(flush(700'000), 0);
  const auto position = static_cast<long>(expected_.size());
  EXPECT_EQ(flush(3 * MIB), -1);
  EXPECT_EQ(writer_->pos(), position);
  EXPECT_EQ(fs::space(dir_.path()).available, 0U);
  const std::string kept = content(slice(0));
  EXPECT_GT(kept.size(), static_cast<size_t>(position));
  EXPECT_TRUE(kept == expected_.substr(0, kept.size()));
  writer_.reset();
}

TEST_F(KTRFile_flushTest, OnlyAStreamThatSendsMuchIsKeptInLargePages) {
  const bool known = fs::exists("/sys/kernel/mm/transparent_hugepage");  // to this kernel
  openWriter();
  const size_t before = bytesForLargePages();
  ASSERT_EQ(flush(2 * MIB - 100'000), 0);
  EXPECT_EQ(bytesForLargePages(), before);
  ASSERT_EQ(flush(5 * MIB), 0);
  EXPECT_GE(bytesForLargePages(), before + (known ? 5 * MIB : 0));
  for (const unsigned int size : {5 * MIB, 3 * MIB, 8 * MIB, 20'000U}) {
    ASSERT_EQ(flush(size), 0);
    expectExact("after " + std::to_string(size));
  }
}

TEST_F(KTRFile_flushTest, AStreamCostsNoMoreMemoryThanItsFlush) {
  constexpr size_t FLUSH = 5'500'000;
  const KTDataBlock frame = KTDataBlock(KTDataBlock(20'000).data, 20'000);
  const size_t before = ResidentMemory::bytes();
  openWriter();
  size_t most = 0;
  for (int round = 0; round < 3; ++round) {
    for (size_t done = 0; done < FLUSH; done += 20'008) ASSERT_EQ(writer_->writeKTRData(frame), 0);
    most = std::max(most, ResidentMemory::bytes() - before);
    ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  }
  EXPECT_GT(most, FLUSH);
  EXPECT_LT(most, FLUSH + 2 * MIB);
}

}  // namespace

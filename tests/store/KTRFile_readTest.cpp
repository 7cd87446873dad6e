#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "store/KTRFile.h"
#include "store/SyncMarkers.h"
#include "tests/support/Allocations.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/ResidentMemory.h"
#include "tests/support/TempDir.h"

namespace {

constexpr unsigned int MIB = 1U << 20;
constexpr int BLOCK = 0xA00000;

/** What is read ahead: when it comes, what it costs, and what is handed out of it. */
class KTRFile_readTest : public testing::Test {
 protected:
  static KTDataBlock payload(unsigned int number, unsigned int size) {
    KTDataBlock block(size);
    unsigned char* bytes = block.writable();
    for (unsigned int i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(number * 7 + i);
    return block;
  }
  // Records frames [from, to) in a slice of their own.
  void record(unsigned int from, unsigned int to, unsigned int size) {
    if (!writer_)
      writer_ = std::make_unique<KTRFile>(prefix(), 0, KTRFile::WRITE_FLAGS, 0x7FFFFFFF);
    for (unsigned int i = from; i < to; ++i) ASSERT_EQ(writer_->writeKTRData(payload(i, size)), 0);
    ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  }
  KTRFile& openReader() {
    reader_ = std::make_unique<KTRFile>(prefix(), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
    return *reader_;
  }
  void expectFrames(unsigned int from, unsigned int to, unsigned int size) {
    KTDataBlock frame;
    for (unsigned int i = from; i < to; ++i) {
      ASSERT_EQ(reader_->readKTRData(frame), static_cast<int>(size)) << i;
      ASSERT_EQ(frame, payload(i, size)) << i;
    }
  }
  static long pageFaults() {
    rusage usage{};
    EXPECT_EQ(getrusage(RUSAGE_THREAD, &usage), 0);
    return usage.ru_minflt;
  }
  // In memory, as they are on the disk.
  [[nodiscard]] bool nextFramesAreNeighbours() {
    KTDataBlock frame;
    KTDataBlock next;
    EXPECT_EQ(reader_->readKTRData(frame), 20'000);
    EXPECT_EQ(reader_->readKTRData(next), 20'000);
    return next.data == frame.data + 20'000 + KTRFile::RECORD_HEAD_SIZE;
  }
  [[nodiscard]] KTString prefix() const { return dir_.entry("cam_"); }
  [[nodiscard]] std::string slice() const { return dir_.path() + "/cam_F0.dat"; }

  TempDir dir_;
  ManualClock clock_;
  LogCapture log_;
  FaultCalls faults_;
  std::unique_ptr<KTRFile> writer_;
  std::unique_ptr<KTRFile> reader_;
};

TEST_F(KTRFile_readTest, AFrameCostsNoAllocation) {
  record(0, 1000, 20'000);
  openReader();
  expectFrames(0, 10, 20'000);
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  const Allocations allocations;
  for (int i = 0; i < 800; ++i) ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  EXPECT_EQ(allocations.count(), 0U);
}

TEST_F(KTRFile_readTest, ASmallerFrameCostsNoAllocation) {
  record(0, 1, 50'000);
  record(1, 5000, 777);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 50'000);
  const Allocations allocations;
  for (int i = 1; i < 2000; ++i) ASSERT_EQ(reader_->readKTRData(frame), 777);
  EXPECT_EQ(allocations.count(), 0U);
}

TEST_F(KTRFile_readTest, AFrameIsNoCopyOfWhatWasReadAhead) {
  record(0, 1000, 20'000);
  openReader();
  expectFrames(0, 100, 20'000);
  EXPECT_TRUE(nextFramesAreNeighbours());
}

TEST_F(KTRFile_readTest, ACallerThatKeepsFramesIsHandedCopies) {
  record(0, 1000, 20'000);
  for (const unsigned int every : {1U, 25U, 300U}) {
    openReader();
    std::vector<KTDataBlock> kept;
    for (unsigned int i = 0; i < 800; ++i) {
      KTDataBlock frame;
      ASSERT_EQ(reader_->readKTRData(frame), 20'000);
      if (i % every == 0) kept.push_back(frame);
    }
    EXPECT_FALSE(nextFramesAreNeighbours()) << every;
  }
}

TEST_F(KTRFile_readTest, ACallerThatKeepsFramesAndReadsLargePiecesBetweenIsHandedCopies) {
  record(0, 1000, 20'000);
  openReader();
  std::vector<KTDataBlock> kept(3);
  KTDataBlock piece;
  for (KTDataBlock& frame : kept) {
    ASSERT_EQ(reader_->go_to_pos(0), 0);
    for (int i = 0; i < 20; ++i) ASSERT_EQ(reader_->readKTRData(frame), 20'000);
    ASSERT_TRUE(reader_->readFromReadBuffer(piece, 4 * MIB));
  }
  ASSERT_EQ(reader_->go_to_pos(0), 0);
  expectFrames(0, 20, 20'000);
  EXPECT_FALSE(nextFramesAreNeighbours());
}

TEST_F(KTRFile_readTest, FramesThatAreKeptStayAsTheyAre) {
  record(0, 1000, 20'000);
  for (const unsigned int every : {1U, 7U, 25U, 130U}) {
    openReader();
    std::vector<KTDataBlock> kept;
    KTDataBlock frame;
    for (unsigned int i = 0; i < 1000; ++i) {
      ASSERT_EQ(reader_->readKTRData(frame), 20'000);
      if (i % every == 0) kept.push_back(frame);
    }
    reader_.reset();
    for (unsigned int i = 0; i < kept.size(); ++i) EXPECT_EQ(kept[i], payload(i * every, 20'000));
  }
}

TEST_F(KTRFile_readTest, AFrameThatTheCallerChangesLeavesTheNextOneAlone) {
  record(0, 200, 20'000);
  openReader();
  KTDataBlock frame;
  for (unsigned int i = 0; i < 200; ++i) {
    ASSERT_EQ(reader_->readKTRData(frame), 20'000);
    ASSERT_EQ(frame, payload(i, 20'000)) << i;
    frame.resize(60'000);
    std::memset(frame.writable(), 0, 60'000);
  }
}

TEST_F(KTRFile_readTest, FramesThatAreKeptHoldLittleElseInMemory) {
  record(0, 4000, 20'000);
  writer_.reset();
  for (const unsigned int every : {25U, 100U, 300U}) {
    openReader();
    expectFrames(0, 1, 20'000);
    std::vector<KTDataBlock> kept;
    const size_t before = ResidentMemory::bytes();
    KTDataBlock frame;
    for (unsigned int i = 0; i < 3990; ++i) {
      ASSERT_EQ(reader_->readKTRData(frame), 20'000);
      if (i % every == 0) kept.push_back(frame);
    }
    EXPECT_LT(ResidentMemory::bytes(), before + kept.size() * 20'000 + size_t{4} * MIB) << every;
  }
}

TEST_F(KTRFile_readTest, AFirstFrameThatIsKeptHoldsNothingElse) {
  record(0, 100, 20'000);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  EXPECT_FALSE(frame.isShared());
}

TEST_F(KTRFile_readTest, AKeptFrameOfAClosedReaderHoldsNothingElse) {
  record(0, 500, 20'000);
  openReader();
  expectFrames(0, 100, 20'000);
  KTDataBlock frame;
  EXPECT_EQ(reader_->_close(), 0);  // brings in the whole block
  ASSERT_GT(reader_->readKTRData(frame), 0);
  EXPECT_FALSE(frame.isShared());
}

TEST_F(KTRFile_readTest, AFirstFrameReadsABlockAheadButWaitsForLittleOfIt) {
  record(0, 1000, 20'000);
  openReader();
  faults_.shorten("pread", slice(), 100'000, {1, FaultCalls::ALWAYS});
  expectFrames(0, 1, 20'000);
  EXPECT_EQ(faults_.count(), 1U);
  EXPECT_EQ(reader_->pos(), BLOCK);
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), BLOCK - 20'008U);
}

TEST_F(KTRFile_readTest, AReaderHoldsLittleOfWhatItReadsAhead) {
  record(0, 2000, 20'000);
  writer_.reset();
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  const size_t before = ResidentMemory::bytes();
  for (int i = 0; i < 1990; ++i) ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  EXPECT_LT(ResidentMemory::bytes(), before + size_t{4} * MIB);  // of blocks of 10 MiB
}

TEST_F(KTRFile_readTest, AFrameTouchesNoNewMemory) {
  record(0, 1900, 20'000);
  openReader();
  expectFrames(0, 100, 20'000);
  KTDataBlock frame;
  const long before = pageFaults();
  for (int i = 0; i < 1600; ++i) ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  EXPECT_LT(pageFaults(), before + 1600);  // 32 MB have 7800 pages
}

TEST_F(KTRFile_readTest, KeptFramesStayAsTheyAreWhateverTheReaderDoesNext) {
  record(0, 100, 20'000);
  record(100, 103, KTRFile::MAX_PAYLOAD_SIZE);
  writer_->createNextSlice();
  record(103, 200, 20'000);
  openReader();
  std::vector<KTDataBlock> kept(50);
  for (KTDataBlock& frame : kept) ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  reader_->addtoReadBuffer(payload(7, 3 * MIB));
  ASSERT_EQ(reader_->go_to_pos(60 * 20'008), 0);
  expectFrames(60, 100, 20'000);
  expectFrames(100, 103, KTRFile::MAX_PAYLOAD_SIZE);
  expectFrames(103, 150, 20'000);
  EXPECT_EQ(reader_->_close(), 0);
  for (unsigned int i = 0; i < kept.size(); ++i) EXPECT_EQ(kept[i], payload(i, 20'000)) << i;
}

TEST_F(KTRFile_readTest, BytesAddedBehindAKeptFrameTakeLittleMemory) {
  record(0, 100, 20'000);
  openReader();
  expectFrames(0, 99, 20'000);
  const unsigned char head[8] = {0xA7, 0xA6, 0xA5, 0xA4, 0x20, 0x4E, 0, 0};
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 20'000);
  const size_t before = ResidentMemory::bytes();
  std::vector<KTDataBlock> kept;
  for (unsigned int i = 100; i < 120; ++i) {
    reader_->addtoReadBuffer(KTDataBlock(head, sizeof head) + payload(i, 20'000));
    ASSERT_EQ(reader_->readKTRData(frame), 20'000);
    kept.push_back(frame);
  }
  EXPECT_LT(ResidentMemory::bytes(), before + size_t{20} * 20'000 + size_t{3} * MIB);
  for (unsigned int i = 0; i < 20; ++i) EXPECT_EQ(kept[i], payload(100 + i, 20'000)) << i;
}

TEST_F(KTRFile_readTest, FramesOfAllSizesComeBackOverManyBlocks) {
  record(0, 700, 40'001);
  record(700, 703, KTRFile::MAX_PAYLOAD_SIZE);
  record(703, 5000, 1'234);
  openReader();
  expectFrames(0, 700, 40'001);
  expectFrames(700, 703, KTRFile::MAX_PAYLOAD_SIZE);
  expectFrames(703, 5000, 1'234);
}

TEST_F(KTRFile_readTest, AnyRecordOfALongSliceIsGoneTo) {
  record(0, 900, 30'000);
  openReader();
  for (const unsigned int number : {800U, 3U, 450U, 449U, 0U}) {
    ASSERT_EQ(reader_->go_to_pos(number * 30'008), 0);
    expectFrames(number, number + 20, 30'000);
  }
}

TEST_F(KTRFile_readTest, WhatIsReadAheadOutlivesTheSlice) {
  record(0, 400, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  reader_->createNextSlice();
  expectFrames(1, 400, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  EXPECT_EQ(reader_->_close(), 0);
  expectFrames(1, 400, 20'000);
}

TEST_F(KTRFile_readTest, WhatIsReadAheadOutlivesTheFile) {
  record(0, 400, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  reader_->_remove();
  expectFrames(1, 400, 20'000);
}

TEST_F(KTRFile_readTest, WhatIsReadAheadStaysWhenThePositionMoves) {
  record(0, 700, 20'000);
  for (const long position : {0L, 1L, 5'000'000L, 20'000'000L}) {
    openReader();
    expectFrames(0, 1, 20'000);
    ASSERT_EQ(reader_->pos(position), 0);
    expectFrames(1, 419, 20'000);  // all that is in front of the next block
  }
}

TEST_F(KTRFile_readTest, BytesReadOutOfTurnAreThoseBehindWhatIsReadAhead) {
  record(0, 1000, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  KTDataBlock bytes;
  ASSERT_EQ(reader_->_read(bytes, 8 * 20'008), 8 * 20'008);
  expectFrames(1, 419, 20'000);
  // The block ends within record 524, and so did the bytes in 532.
  constexpr unsigned int IN_RECORD = BLOCK % 20'008;
  EXPECT_EQ(0, std::memcmp(bytes.data + 20'008 - IN_RECORD + 8, payload(525, 20'000).data, 20'000));
}

TEST_F(KTRFile_readTest, WhatIsReadAheadStaysWhenTheSameObjectWrites) {
  record(0, 600, 20'000);
  reader_ = std::make_unique<KTRFile>(prefix(), 0, KTRFile::WRITE_FLAGS, 0x7FFFFFFF);
  ASSERT_EQ(reader_->go_to_pos(0), 0);
  expectFrames(0, 1, 20'000);
  ASSERT_EQ(reader_->writeKTRData(payload(7, 3000)), 0);
  ASSERT_EQ(reader_->_writeWriteBuffer(), 0);
  expectFrames(1, 419, 20'000);
}

TEST_F(KTRFile_readTest, BytesThatAreAddedComeBehindWhatIsReadAhead) {
  record(0, 50, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  unsigned char head[8] = {0xA7, 0xA6, 0xA5, 0xA4, 100, 0, 0, 0};
  reader_->addtoReadBuffer(KTDataBlock(head, sizeof head) + payload(50, 100));
  expectFrames(1, 50, 20'000);
  expectFrames(50, 51, 100);
}

TEST_F(KTRFile_readTest, TheBufferGrowsAsIfTheWholeBlockHadComeAtOnce) {
  record(0, 600, 20'000);
  openReader();
  expectFrames(0, 100, 20'000);
  log_.clear();
  reader_->addtoReadBuffer(KTDataBlock(0x1400000 - BLOCK));
  EXPECT_EQ(log_.countContaining("VERY BAD!"), 0U);
  reader_->addtoReadBuffer(payload(0, 50));
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the ReadBuffer size:20971520 bytes full: 2000800 "
                       "bytes blocksize to insert:50 bytes!"));
  expectFrames(100, 500, 20'000);
}

TEST_F(KTRFile_readTest, ARefillBeginsTheBufferAnew) {
  constexpr unsigned int UNREAD = BLOCK - 420 * 20'008;  // at the first call with less than 2 MiB
  record(0, 1100, 20'000);
  openReader();
  expectFrames(0, 500, 20'000);
  log_.clear();
  reader_->addtoReadBuffer(KTDataBlock(0x1400000 - BLOCK - UNREAD));
  EXPECT_EQ(log_.countContaining("VERY BAD!"), 0U);
  reader_->addtoReadBuffer(payload(0, 50));
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the ReadBuffer size:20971520 bytes full: 1600640 "
                       "bytes blocksize to insert:50 bytes!"));
}

TEST_F(KTRFile_readTest, ABadPlaceDeepInABlockEndsTheReadThere) {
  record(0, 400, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  faults_.fail("pread", slice(), EIO, {4, FaultCalls::ALWAYS});
  KTDataBlock frame;
  unsigned int number = 1;
  while (reader_->readKTRData(frame) > 0) ASSERT_EQ(frame, payload(number++, 20'000));
  EXPECT_GT(number, 2U);
  EXPECT_EQ(log_.count(128, "KTRFile " + slice() + " read Failed !!!!"), 1U);
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_EQ(log_.count(128, "KTRFile " + slice() + " read Failed !!!!"), 1U);
  faults_.restore();
  ASSERT_EQ(reader_->go_to_pos(number * 20'008), 0);
  expectFrames(number, 400, 20'000);
}

TEST_F(KTRFile_readTest, ABadPlaceAtTheBeginningOfTheNextSliceLeavesNoMarker) {
  record(0, 3, 500);
  writer_->createNextSlice();
  record(3, 5, 500);
  openReader();
  faults_.fail("pread", "_F1.dat", EIO, {1, FaultCalls::ALWAYS});
  expectFrames(0, 3, 500);
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), 0U);
  faults_.restore();
  expectFrames(3, 5, 500);
}

TEST_F(KTRFile_readTest, ASliceThatIsCutMeanwhileEndsWhereItWasCut) {
  record(0, 400, 20'000);
  openReader();
  expectFrames(0, 1, 20'000);
  std::filesystem::resize_file(slice(), 100 * 20'008);
  expectFrames(1, 100, 20'000);
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(64, "[ readKTRData ] No more data availaible buffer size: 0 bytes!! "));
}

}  // namespace

#include "store/KTRFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <memory>

#include "runtime/KTRFrameWriter.h"
#include "store/SyncMarkers.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

namespace {

constexpr int HUGE_SLICE = 0x7FFFFFFF;
constexpr const char* NO_MORE = "[ readKTRData ] No more data availaible buffer size: 0 bytes!! ";

// A payload whose bytes tell its number: stamp in bytes 1 to 4.
KTDataBlock payload(unsigned int stamp, unsigned int size = 64) {
  KTDataBlock block(size);
  unsigned char* bytes = block.writable();
  for (unsigned int i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(stamp + i);
  for (unsigned int i = 0; i < 4 && i + 1 < size; ++i) {
    bytes[1 + i] = static_cast<unsigned char>(stamp >> (8 * i));
  }
  return block;
}

class KTRFileTest : public testing::Test {
 protected:
  KTString prefix() const { return dir_.entry("cam_"); }
  std::string slice(unsigned int index) const {
    return dir_.path() + "/cam_F" + std::to_string(index) + ".dat";
  }
  std::uintmax_t sliceSize(unsigned int index) const {
    return std::filesystem::exists(slice(index)) ? std::filesystem::file_size(slice(index)) : 0;
  }

  KTRFile& openWriter(int sliceMaxSize = HUGE_SLICE, unsigned char index = 0) {
    writer_ = std::make_unique<KTRFile>(prefix(), index, KTRFile::WRITE_FLAGS, sliceMaxSize);
    return *writer_;
  }
  KTRFile& openReader(unsigned char index = 0) {
    reader_ =
        std::make_unique<KTRFile>(prefix(), index, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
    return *reader_;
  }
  // Records stamps [from, to) and puts the buffer on disk.
  void record(unsigned int from, unsigned int to, unsigned int size = 64) {
    for (unsigned int i = from; i < to; ++i) {
      ASSERT_EQ(writer_->writeKTRData(payload(i, size)), 0);
    }
    ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  }
  void closeWriter() { writer_.reset(); }

  // Reads with the open reader until it fails; the stamps that came.
  std::vector<unsigned int> readAll() {
    std::vector<unsigned int> stamps;
    KTDataBlock frame;
    while (reader_->readKTRData(frame) > 0) {
      EXPECT_EQ(frame, payload(reader_->curFrameTimeStamp(), frame.size));
      stamps.push_back(reader_->curFrameTimeStamp());
    }
    return stamps;
  }
  static std::vector<unsigned int> range(unsigned int from, unsigned int to) {
    std::vector<unsigned int> all;
    for (unsigned int i = from; i < to; ++i) all.push_back(i);
    return all;
  }
  void writeRaw(unsigned int index, const KTDataBlock& bytes) const {
    std::ofstream out(slice(index), std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data), bytes.size);
  }
  std::string readRaw(unsigned int index) const {
    std::ifstream in(slice(index), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // A record as it stands on disk, with any length field.
  static KTDataBlock rawRecord(const KTDataBlock& content, unsigned int length) {
    const unsigned char head[8] = {0xA7,
                                   0xA6,
                                   0xA5,
                                   0xA4,
                                   static_cast<unsigned char>(length),
                                   static_cast<unsigned char>(length >> 8),
                                   static_cast<unsigned char>(length >> 16),
                                   static_cast<unsigned char>(length >> 24)};
    return KTDataBlock(head, sizeof head) + content;
  }

  TempDir dir_;
  ManualClock clock_;
  LogCapture log_;
  std::unique_ptr<KTRFile> writer_;
  std::unique_ptr<KTRFile> reader_;
};

TEST_F(KTRFileTest, MarkersAreTheFourBytesOfTheFormat) {
  const unsigned char record[] = {0xA7, 0xA6, 0xA5, 0xA4};
  const unsigned char newFile[] = {0xB7, 0xB6, 0xB5, 0xB4};
  EXPECT_EQ(NULL_FLAG, KTDataBlock(record, 4));
  EXPECT_EQ(NEW_FILE_FLAG, KTDataBlock(newFile, 4));
}

TEST_F(KTRFileTest, RecordsAreMarkerLengthAndPayload) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(KTDataBlock(reinterpret_cast<const unsigned char*>("hello!"), 6)),
            0);
  closeWriter();
  EXPECT_EQ(readRaw(0), std::string("\xA7\xA6\xA5\xA4\x06\0\0\0hello!", 14));
}

TEST_F(KTRFileTest, FramesComeBackInOrderWithTheirStamps) {
  openWriter();
  record(0, 500);
  openReader();
  EXPECT_EQ(readAll(), range(0, 500));
}

TEST_F(KTRFileTest, ReaderReportsPositionsThatItCanReturnTo) {
  openWriter();
  record(0, 60, 100000);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 100000);
  ASSERT_EQ(reader_->readKTRData(frame), 100000);
  EXPECT_EQ(reader_->recordOffset(), 100008U);
  EXPECT_EQ(reader_->curReadOffset(), 200016U);
  ASSERT_EQ(reader_->go_to_pos(100008), 0);
  EXPECT_EQ(reader_->recordOffset(), 200016U);
  EXPECT_EQ(reader_->curReadOffset(), 100008U);
  ASSERT_EQ(reader_->readKTRData(frame), 100000);
  EXPECT_EQ(frame, payload(1, 100000));
}

TEST_F(KTRFileTest, ReadAheadPastTheEndClosesTheChain) {
  openWriter();
  record(0, 3);
  openReader();
  EXPECT_EQ(readAll().size(), 3U);
  EXPECT_FALSE(reader_->opened());
  EXPECT_EQ(reader_->go_to_pos(0), -1);
}

TEST_F(KTRFileTest, WriterReportsWhereEachRecordBegins) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0, 100)), 0);
  EXPECT_EQ(writer_->recordOffset(), 0U);
  ASSERT_EQ(writer_->writeKTRData(payload(1, 100)), 0);
  EXPECT_EQ(writer_->recordOffset(), 108U);
  EXPECT_EQ(writer_->prevFileIndex(), 0);
}

TEST_F(KTRFileTest, BufferReachesTheDiskElevenSecondsAfterTheFirstRecord) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  clock_.advanceSeconds(10);
  ASSERT_EQ(writer_->writeKTRData(payload(1)), 0);
  EXPECT_EQ(sliceSize(0), 0U);
  clock_.advanceSeconds(1);
  ASSERT_EQ(writer_->writeKTRData(payload(2)), 0);
  EXPECT_EQ(sliceSize(0), 3U * 72);
}

TEST_F(KTRFileTest, ClockSetBackCountsAsDue) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  clock_.stepWall(-60);
  ASSERT_EQ(writer_->writeKTRData(payload(1)), 0);
  EXPECT_EQ(sliceSize(0), 2U * 72);
}

TEST_F(KTRFileTest, FlushTimeTestAnswersOncePerInterval) {
  openWriter();
  EXPECT_FALSE(writer_->needToWrite(KTDataBlock()));
  clock_.advanceSeconds(11);
  EXPECT_TRUE(writer_->needToWrite(KTDataBlock()));
  EXPECT_FALSE(writer_->needToWrite(KTDataBlock()));
}

TEST_F(KTRFileTest, CloseFlushesWhatIsBuffered) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  EXPECT_EQ(writer_->_close(), 0);
  EXPECT_FALSE(writer_->opened());
  EXPECT_EQ(sliceSize(0), 72U);
  EXPECT_EQ(writer_->_close(), 0);
}

TEST_F(KTRFileTest, CloseOfAFullSliceOpensNoOther) {
  openWriter(10);
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  EXPECT_EQ(writer_->_close(), 0);
  EXPECT_EQ(writer_->fileIndex(), 0);
  EXPECT_FALSE(std::filesystem::exists(slice(1)));
}

TEST_F(KTRFileTest, DestructionFlushesWhatIsBuffered) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  closeWriter();
  EXPECT_EQ(sliceSize(0), 72U);
}

TEST_F(KTRFileTest, FullSliceRollsOverAtTheFlush) {
  openWriter(200);
  record(0, 2);
  EXPECT_EQ(writer_->fileIndex(), 0);
  record(2, 4);
  EXPECT_EQ(writer_->fileIndex(), 1);
  EXPECT_EQ(writer_->prevFileIndex(), 0);
  EXPECT_EQ(sliceSize(0), 4U * 72);
  EXPECT_EQ(sliceSize(1), 0U);
}

TEST_F(KTRFileTest, SliceIsFullAtExactlyItsLimit) {
  openWriter(144);
  record(0, 1);
  EXPECT_FALSE(writer_->currentSliceFull());
  EXPECT_EQ(writer_->fileIndex(), 0);
  record(1, 2);
  EXPECT_EQ(writer_->fileIndex(), 1);
}

TEST_F(KTRFileTest, FirstRecordOfANewSliceKeepsThePositionOfTheOneBefore) {
  openWriter();
  record(0, 2, 100);
  writer_->createNextSlice();
  ASSERT_EQ(writer_->writeKTRData(payload(2, 100)), 0);
  EXPECT_EQ(writer_->prevFileIndex(), 0);
  EXPECT_EQ(writer_->recordOffset(), 108U);
  ASSERT_EQ(writer_->writeKTRData(payload(3, 100)), 0);
  EXPECT_EQ(writer_->prevFileIndex(), 1);
  EXPECT_EQ(writer_->recordOffset(), 108U);
  ASSERT_EQ(writer_->writeKTRData(payload(4, 100)), 0);
  EXPECT_EQ(writer_->recordOffset(), 216U);
}

TEST_F(KTRFileTest, NextSliceFlushesTheOneBefore) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  writer_->createNextSlice();
  EXPECT_EQ(sliceSize(0), 72U);
  EXPECT_EQ(writer_->fileIndex(), 1);
}

TEST_F(KTRFileTest, ReaderWalksFromSliceToSlice) {
  openWriter(1000);
  for (unsigned int i = 0; i < 100; i += 20) record(i, i + 20);
  closeWriter();
  openReader();
  EXPECT_EQ(readAll(), range(0, 100));
  EXPECT_EQ(reader_->curFileIndex(), 4U);
  EXPECT_EQ(log_.count(64, "[ readKTRData ] Trace - Jump to new file "), 4U);
}

TEST_F(KTRFileTest, LogicalOffsetRunsOnOverAChangeOfSlice) {
  openWriter();
  record(0, 2, 100);
  writer_->createNextSlice();
  record(2, 3, 100);
  openReader();
  EXPECT_EQ(readAll().size(), 3U);
  EXPECT_EQ(reader_->curReadOffset(), 3U * 108);
}

TEST_F(KTRFileTest, PositionsAreThoseOfTheSliceThatReadAheadHasReached) {
  openWriter();
  record(0, 2, 100);
  writer_->createNextSlice();
  record(2, 3, 100);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 100);
  EXPECT_EQ(reader_->fileIndex(), 0);
  ASSERT_EQ(reader_->readKTRData(frame), 100);
  EXPECT_EQ(reader_->fileIndex(), 1);
  EXPECT_EQ(reader_->curFileIndex(), 0U);
  ASSERT_EQ(reader_->go_to_pos(0), 0);
  EXPECT_EQ(reader_->curFileIndex(), 1U);
  ASSERT_EQ(reader_->readKTRData(frame), 100);
  EXPECT_EQ(frame, payload(2, 100));
}

TEST_F(KTRFileTest, ReaderBeginsInAnySlice) {
  openWriter();
  record(0, 5);
  writer_->createNextSlice();
  record(5, 9);
  openReader(1);
  EXPECT_EQ(readAll(), range(5, 9));
  EXPECT_EQ(reader_->curFileIndex(), 1U);
}

TEST_F(KTRFileTest, LargerNextSliceIsReadWithoutAMarker) {
  openWriter();
  record(0, 1);
  writer_->createNextSlice();
  record(1, 50);
  openReader();
  EXPECT_EQ(readAll(), range(0, 50));
  EXPECT_EQ(log_.count(64, "[ readKTRData ] Trace - Jump to new file "), 0U);
}

TEST_F(KTRFileTest, SliceTwoHundredFiftyFiveIsFollowedBySliceZero) {
  writeRaw(0, payload(7, 500));
  openWriter(HUGE_SLICE, 255);
  record(0, 2, 100);
  writer_->createNextSlice();
  EXPECT_EQ(writer_->fileIndex(), 0);
  record(2, 3, 100);
  EXPECT_EQ(sliceSize(0), 500U) << "an old slice is written over, not cut";
  openReader(255);
  KTDataBlock frame;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(reader_->readKTRData(frame), 100);
  EXPECT_EQ(frame, payload(2, 100));
}

TEST_F(KTRFileTest, EndOfTheChainIsReported) {
  openWriter();
  record(0, 1);
  openReader();
  EXPECT_EQ(readAll().size(), 1U);
  EXPECT_TRUE(log_.has(64, NO_MORE));
}

TEST_F(KTRFileTest, ReaderAtTheEndStaysThereUntilItIsBuiltAnew) {
  openWriter();
  record(0, 1);
  openReader();
  EXPECT_EQ(readAll().size(), 1U);
  record(1, 2);
  EXPECT_EQ(readAll().size(), 0U);
  openReader();
  EXPECT_EQ(readAll().size(), 2U);
}

TEST_F(KTRFileTest, NextSliceLetsAReaderAtTheEndGoOn) {
  writeRaw(0, rawRecord(payload(0), 64));
  writeRaw(2, rawRecord(payload(2), 64));
  openReader();
  EXPECT_EQ(readAll(), range(0, 1));
  reader_->createNextSlice();
  EXPECT_EQ(reader_->fileIndex(), 2);
  EXPECT_EQ(readAll(), range(2, 3));
}

TEST_F(KTRFileTest, LargestFrameComesBackWhole) {
  openWriter();
  record(1, 2, 2097152);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 2097152);
  EXPECT_EQ(frame, payload(1, 2097152));
}

TEST_F(KTRFileTest, FrameOverTheLimitIsRefusedByTheReader) {
  openWriter();
  record(1, 2, 2097153);
  openReader();
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(
      log_.has(64, "[ readKTRData ] Frame Size HUGE : 2097153 bytes res=1  / byte wanted=4 !! "));
}

TEST_F(KTRFileTest, EmptyPayloadIsWrittenButRefusedByTheReader) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(KTDataBlock()), 0);
  record(1, 2);
  EXPECT_EQ(sliceSize(0), 8U + 72);
  openReader();
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(64, "[ readKTRData ] Frame Size HUGE : 0 bytes res=1  / byte wanted=4 !! "));
  EXPECT_EQ(reader_->readKTRData(frame), 64) << "the record behind it is in step";
}

TEST_F(KTRFileTest, ShortPayloadLeavesTheStampAsItIs) {
  openWriter();
  record(9, 10, 5);
  record(8, 9, 4);
  openReader();
  KTDataBlock frame;
  ASSERT_EQ(reader_->readKTRData(frame), 5);
  ASSERT_EQ(reader_->readKTRData(frame), 4);
  EXPECT_EQ(reader_->curFrameTimeStamp(), 9U);
}

TEST_F(KTRFileTest, GarbageConsumesFourBytesACall) {
  const unsigned char junk[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  writeRaw(0, KTDataBlock(junk, 8) + rawRecord(payload(3), 64));
  openReader();
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(64,
                       "[ readKTRData ] Synchronization ERROR !! data: 04030201 res=1 wait for "
                       "A4A5A6A7"));
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_EQ(reader_->readKTRData(frame), 64);
  EXPECT_EQ(frame, payload(3));
}

TEST_F(KTRFileTest, RecordCutShortIsReportedAndItsHeadStaysConsumed) {
  writeRaw(0, rawRecord(payload(3, 20), 64));
  openReader();
  KTDataBlock frame = payload(1, 3);
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(64, "[ readKTRData ] Frame Read not completely: 20 bytes available!! "));
  EXPECT_EQ(frame, payload(1, 3));
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), 20U);
}

TEST_F(KTRFileTest, NewFileMarkerWithoutALengthBehindItIsReported) {
  openReader();
  reader_->addtoReadBuffer(NEW_FILE_FLAG + KTDataBlock(NULL_FLAG));
  reader_->addtoReadBuffer(KTDataBlock(NULL_FLAG.data, 2));
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(128, "Can't read 4 bytes from the ReadBuffer which contains only 2 bytes"));
  EXPECT_TRUE(log_.has(64, "[ readKTRData ] Frame Size HUGE : 0 bytes res=0  / byte wanted=4 !! "));
}

TEST_F(KTRFileTest, TornTailEndsTheReadAtEveryLength) {
  openWriter();
  record(0, 3, 40);
  closeWriter();
  const std::string whole = readRaw(0);
  for (size_t cut = 96; cut < whole.size(); ++cut) {
    std::filesystem::resize_file(slice(0), cut);
    openReader();
    EXPECT_EQ(readAll(), range(0, 2)) << "cut at " << cut;
    std::ofstream(slice(0), std::ios::binary).write(whole.data(), 144);
  }
}

TEST_F(KTRFileTest, FullWriteBufferGrowsByTwiceTheBlock) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0, 511000)), 0);
  ASSERT_EQ(writer_->writeKTRData(payload(1, 2000)), 0);
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the WriteBuffer size:512000 bytes full: 511016 "
                       "bytes blocksize to insert:2000 bytes!"));
  ASSERT_EQ(writer_->writeKTRData(payload(2, 3000)), 0);
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the WriteBuffer size:516000 bytes full: 513024 "
                       "bytes blocksize to insert:3000 bytes!"));
  ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  openReader();
  EXPECT_EQ(readAll(), range(0, 3));
}

TEST_F(KTRFileTest, BytesAddedToTheWriteBufferReachTheDiskAsTheyAre) {
  openWriter();
  const KTDataBlock record = rawRecord(payload(7, 64), 64);
  EXPECT_EQ(writer_->addtoWriteBuffer(record), 72U);
  ASSERT_EQ(writer_->_writeWriteBuffer(), 0);
  EXPECT_EQ(readRaw(0), std::string(reinterpret_cast<const char*>(record.data), record.size));
}

TEST_F(KTRFileTest, FullReadBufferGrowsByTwiceTheBlock) {
  openReader();
  EXPECT_EQ(reader_->addtoReadBuffer(KTDataBlock(20971520)), 20971520U);
  KTDataBlock first;
  ASSERT_TRUE(reader_->readFromReadBuffer(first, 100));
  log_.clear();
  EXPECT_EQ(reader_->addtoReadBuffer(payload(1, 50)), 50U);
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the ReadBuffer size:20971520 bytes full: 100 bytes "
                       "blocksize to insert:50 bytes!"));
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), 20971520U - 100 + 50);
  reader_->addtoReadBuffer(payload(1, 51));
  EXPECT_TRUE(log_.has(64,
                       "VERY BAD! DO Resize of the ReadBuffer size:20971620 bytes full: 100 bytes "
                       "blocksize to insert:51 bytes!"));
}

TEST_F(KTRFileTest, TakingMoreThanIsBufferedTakesNothing) {
  openReader();
  reader_->addtoReadBuffer(payload(1, 10));
  KTDataBlock out = payload(2, 3);
  EXPECT_FALSE(reader_->readFromReadBuffer(out, 11));
  EXPECT_TRUE(
      log_.has(128, "Can't read 11 bytes from the ReadBuffer which contains only 10 bytes"));
  EXPECT_EQ(out, payload(2, 3));
  EXPECT_TRUE(reader_->readFromReadBuffer(out, 10));
  EXPECT_EQ(out, payload(1, 10));
}

TEST_F(KTRFileTest, MissingFileIsReportedAtOpen) {
  openReader();
  const std::string expected = "KTRFile " + slice(0) + " opened Failed !!!!";
  EXPECT_TRUE(log_.has(128, expected));
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_EQ(reader_->go_to_pos(0), -1);
}

TEST_F(KTRFileTest, FailedFlushDropsTheBufferAndTheNextRecordStartsAFreshOne) {
  openWriter();
  ASSERT_EQ(writer_->writeKTRData(payload(0)), 0);
  writer_->close();
  clock_.advanceSeconds(11);
  EXPECT_EQ(writer_->writeKTRData(payload(1)), -1);
  EXPECT_TRUE(log_.has(128, "writeKTRData: NULL res:-1 , 144 bytes"));
  ASSERT_EQ(writer_->open(KTRFile::WRITE_FLAGS, 0644), 0);
  record(2, 3);
  openReader();
  EXPECT_EQ(readAll(), range(2, 3));
}

TEST_F(KTRFileTest, ALateWriteErrorShowsAtTheClose) {
  FaultCalls faults;
  openWriter();
  faults.fail("close", slice(0), EIO);
  EXPECT_EQ(writer_->_close(), -1);
  EXPECT_FALSE(writer_->opened());
  EXPECT_EQ(log_.count(128, "KTRFile " + slice(0) + " closed Failed !!!!"), 1U);
}

TEST_F(KTRFileTest, ABadPlaceEndsTheReadAndIsReportedOnce) {
  FaultCalls faults;
  openWriter();
  record(0, 10);
  openReader();
  faults.shorten("pread", slice(0), 5 * 72 + 7, {1, 1});
  faults.fail("pread", slice(0), EIO, {2, FaultCalls::ALWAYS});
  EXPECT_EQ(readAll(), range(0, 5));
  EXPECT_EQ(readAll(), range(0, 0));
  EXPECT_EQ(log_.count(128, "KTRFile " + slice(0) + " read Failed !!!!"), 1U);
  ASSERT_EQ(reader_->go_to_pos(0), 0);
  faults.restore();
  EXPECT_EQ(readAll(), range(0, 10));
}

TEST_F(KTRFileTest, NamingOpensNothing) {
  openWriter();
  writer_->setVideoFileName(prefix(), 12);
  EXPECT_EQ(writer_->name(), dir_.entry("cam_F12.dat"));
  EXPECT_EQ(writer_->fileIndex(), 0);
  EXPECT_FALSE(std::filesystem::exists(slice(12)));
}

TEST_F(KTRFileTest, RemoveDeletesTheSliceAndReportsFailure) {
  openWriter();
  writer_->_remove();
  EXPECT_FALSE(std::filesystem::exists(slice(0)));
  writer_->_remove();
  EXPECT_TRUE(log_.has(128, "[ REMOVE FILE ERROR] : " + slice(0)));
}

TEST_F(KTRFileTest, RawReadWalksOverTheSlices) {
  openWriter();
  record(0, 1);
  writer_->createNextSlice();
  record(1, 2);
  openReader();
  KTDataBlock bytes;
  EXPECT_EQ(reader_->_read(bytes, 1000), 72);
  EXPECT_EQ(reader_->_read(bytes, 1000), 72);
  EXPECT_EQ(bytes, rawRecord(payload(1), 64));
  EXPECT_EQ(reader_->_read(bytes, 0), 0);
  EXPECT_EQ(reader_->_read(bytes, 1000), -1);
}

TEST_F(KTRFileTest, ReplaceCopiesOverBytes) {
  openWriter();
  KTDataBlock block = payload(0, 10);
  writer_->Replace(block, 4, NULL_FLAG);
  EXPECT_EQ(block.copy(4, 4), NULL_FLAG);
  EXPECT_EQ(block.size, 10U);
}

TEST_F(KTRFileTest, SlicesAreReadableByTheGroupAndOthersAtMost) {
  openWriter();
  const auto perms = std::filesystem::status(slice(0)).permissions();
  EXPECT_EQ(perms & std::filesystem::perms::owner_all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_EQ(perms & std::filesystem::perms(0133), std::filesystem::perms::none);
}

TEST_F(KTRFileTest, LiveChainIsReadAsFarAsItWasFlushed) {
  openWriter();
  record(0, 10);
  ASSERT_EQ(writer_->writeKTRData(payload(10)), 0);
  openReader();
  EXPECT_EQ(readAll(), range(0, 10));
}

TEST_F(KTRFileTest, LongChainIsReadWholeThroughManyRefills) {
  openWriter(8000000);
  for (unsigned int i = 0; i < 300; i += 30) record(i, i + 30, 100000);
  closeWriter();
  EXPECT_GT(sliceSize(2), 0U);
  openReader();
  EXPECT_EQ(readAll(), range(0, 300));
}

TEST_F(KTRFileTest, EightBytesAreTooFewForARecord) {
  writeRaw(0, KTDataBlock(rawRecord(KTDataBlock(), 1)));
  openReader();
  KTDataBlock frame;
  EXPECT_EQ(reader_->readKTRData(frame), -1);
  EXPECT_TRUE(log_.has(64, "[ readKTRData ] No more data availaible buffer size: 8 bytes!! "));
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), 8U);
}

TEST_F(KTRFileTest, RefillsByTenMebibytesWhenLessThanTwoAreLeft) {
  constexpr unsigned int RECORD = 0x10000;  // the 160 records of a block end at its end
  openWriter();
  record(0, 400, RECORD - 8);
  openReader();
  KTDataBlock frame;
  for (unsigned int i = 0; i < 129; ++i) {
    ASSERT_GT(reader_->readKTRData(frame), 0);
    EXPECT_EQ(reader_->pos(), 0xA00000) << i;
  }
  EXPECT_EQ(reader_->readBuffDataAvailableSize(), 0x1F0000U);
  ASSERT_GT(reader_->readKTRData(frame), 0);
  EXPECT_EQ(reader_->pos(), 0x1400000);
}

TEST_F(KTRFileTest, ARingOfEmptySlicesEndsTheRead) {
  for (unsigned int i = 0; i < 256; ++i) writeRaw(i, KTDataBlock());
  openReader();
  KTDataBlock out;
  EXPECT_EQ(reader_->readKTRData(out), -1);
  EXPECT_TRUE(log_.has(64, NO_MORE));
  openReader();
  EXPECT_EQ(reader_->_read(out, 1), -1);
}

}  // namespace

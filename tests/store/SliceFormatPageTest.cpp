#include <gtest/gtest.h>

#include "runtime/KTRFrameWriter.h"
#include "store/KTRFile.h"
#include "store/SyncMarkers.h"
#include "tests/support/FormatPage.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"

using Format = KTRFrameFormat;

namespace {

constexpr int SLICE_SIZE = 1000000;
constexpr unsigned char MEDIA[] = {0x65, 0x88};

class SliceFormatPageTest : public testing::Test {
 protected:
  [[nodiscard]] KTString prefix() const { return dir_.entry("cam_"); }

  // What is in slice 0 on disk.
  [[nodiscard]] KTDataBlock slice() const {
    KTFile file(dir_.entry("cam_F0.dat"));
    KTDataBlock bytes;
    if (file.open(KTRFile::READ_FLAGS, 0) != 0 || file.read(bytes, SLICE_SIZE) < 0) return bytes;
    return bytes;
  }

  void putSlice(const KTDataBlock& bytes) const {
    KTFile file(dir_.entry("cam_F0.dat"));
    ASSERT_EQ(file.open(KTRFile::WRITE_FLAGS, KTFile::DEFAULT_MODE), 0);
    ASSERT_EQ(file.write(bytes), static_cast<int>(bytes.size));
  }

  TempDir dir_;
  const KTDataBlock example_ = workedExample("slice.md");
  const KTDataBlock key_ = KTRFrameWriter::build(Format::Key, 123456, {{MEDIA, sizeof MEDIA}});
  const KTDataBlock empty_ = KTRFrameWriter::build(Format::Empty, 123496, {});
};

TEST_F(SliceFormatPageTest, TheExampleIsWhatTheWriterWrites) {
  KTRFile writer(prefix(), 0, KTRFile::WRITE_FLAGS, SLICE_SIZE);
  ASSERT_EQ(writer.writeKTRData(key_), 0);
  EXPECT_EQ(writer.recordOffset(), 0U);
  ASSERT_EQ(writer.writeKTRData(empty_), 0);
  EXPECT_EQ(writer.recordOffset(), 19U);
  ASSERT_EQ(writer._close(), 0);
  EXPECT_EQ(example_.size, 36U);
  EXPECT_TRUE(slice() == example_);
}

TEST_F(SliceFormatPageTest, TheExampleIsWhatTheReaderReads) {
  putSlice(example_);
  KTRFile reader(prefix(), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  KTDataBlock frame;
  ASSERT_EQ(reader.readKTRData(frame), 11);
  EXPECT_TRUE(frame == key_);
  EXPECT_EQ(reader.curFrameTimeStamp(), 123456U);
  ASSERT_EQ(reader.readKTRData(frame), 9);
  EXPECT_TRUE(frame == empty_);
  EXPECT_EQ(reader.recordOffset(), 19U);
}

TEST_F(SliceFormatPageTest, NothingOfATornRecordIsHandedOut) {
  const LogCapture log;
  for (unsigned int cut = 19; cut < example_.size; ++cut) {
    const TempDir dir;
    KTFile file(dir.entry("cam_F0.dat"));
    ASSERT_EQ(file.open(KTRFile::WRITE_FLAGS, KTFile::DEFAULT_MODE), 0);
    ASSERT_EQ(file.write(example_, cut), static_cast<int>(cut));
    KTRFile reader(dir.entry("cam_"), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
    KTDataBlock frame;
    EXPECT_EQ(reader.readKTRData(frame), 11);
    EXPECT_EQ(reader.readKTRData(frame), -1) << cut;
  }
}

TEST_F(SliceFormatPageTest, TheMarksAreThoseOfThePage) {
  const unsigned char newFile[] = {0xB7, 0xB6, 0xB5, 0xB4};
  EXPECT_TRUE(NULL_FLAG == example_.copy(0, 4));
  EXPECT_TRUE(NEW_FILE_FLAG == KTDataBlock(newFile, 4));
  static_assert(FLAG_WORD == 0xA4A5A6A7);
}

}  // namespace

#include "host/check/SliceScanner.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "runtime/KTRFrameWriter.h"
#include "tests/host_recording/CheckFixture.h"

using testing::ElementsAre;

namespace {

/** Slices of records that are put together byte by byte; no server is asked. */
class SliceScannerTest : public CheckFixture {
 protected:
  static std::string record(KTRFrameFormat::Kind kind, unsigned int stampMs,
                            const std::string& media) {
    const KTDataBlock frame =
        KTRFrameWriter::build(kind, stampMs,
                              {{reinterpret_cast<const unsigned char*>(media.data()),
                                static_cast<unsigned int>(media.size())}});
    std::string bytes("\xA7\xA6\xA5\xA4", 4);
    for (unsigned int shift = 0; shift < 32; shift += 8) {
      bytes += static_cast<char>(frame.size >> shift);
    }
    return bytes + std::string(reinterpret_cast<const char*>(frame.data), frame.size);
  }
  /** The items of a slice of these bytes, each as "record 0-19". */
  std::vector<std::string> scan(const std::string& bytes) {
    static const char* const names[] = {"record", "garbage", "torn", "unreadable"};
    write(path_, bytes);
    std::vector<std::string> items;
    SliceScanner scanner(path_);
    for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
      items.push_back(std::string(names[item]) + " " + std::to_string(scanner.range().begin) + "-" +
                      std::to_string(scanner.range().end));
    }
    return items;
  }

  const std::string path_ = dir_.path() + "/slice.dat";
  const std::string key_ = record(KTRFrameFormat::Key, 1000, "picture");     // 24 bytes
  const std::string delta_ = record(KTRFrameFormat::Delta, 1040, "change");  // 23 bytes
};

}  // namespace

TEST_F(SliceScannerTest, TellsWhatARecordIs) {
  write(path_, key_ + delta_);
  SliceScanner scanner(path_);
  ASSERT_EQ(SliceScanner::Record, scanner.next());
  EXPECT_EQ(KTRFrameFormat::Key, scanner.record().kind);
  EXPECT_EQ(1000U, scanner.record().stampMs);
  EXPECT_TRUE(scanner.record().startsPlayback());
  ASSERT_EQ(SliceScanner::Record, scanner.next());
  EXPECT_EQ(24U, scanner.record().offset);
  EXPECT_FALSE(scanner.record().startsPlayback());
  EXPECT_EQ(SliceScanner::End, scanner.next());
}

TEST_F(SliceScannerTest, EveryCutOfTheLastRecordIsATornTail) {
  EXPECT_THAT(scan(""), ElementsAre());
  for (size_t size = 1; size < delta_.size(); ++size) {
    const std::string end = std::to_string(24 + size);
    ASSERT_THAT(scan(key_ + delta_.substr(0, size)), ElementsAre("record 0-24", "torn 24-" + end));
  }
}

TEST_F(SliceScannerTest, ZerosBehindTheLastRecordAreATornTail) {
  const std::string zeros(9000, '\0');
  EXPECT_THAT(scan(key_ + zeros), ElementsAre("record 0-24", "torn 24-9024"));
  EXPECT_THAT(scan(key_ + delta_.substr(0, 6) + zeros), ElementsAre("record 0-24", "torn 24-9030"));
  EXPECT_THAT(scan(key_ + zeros + delta_),
              ElementsAre("record 0-24", "garbage 24-9024", "record 9024-9047"));
}

TEST_F(SliceScannerTest, GarbageReachesUpToTheNextSoundRecord) {
  EXPECT_THAT(
      scan("noise" + key_ + "\xA7more" + delta_ + "end"),
      ElementsAre("garbage 0-5", "record 5-29", "garbage 29-34", "record 34-57", "garbage 57-60"));
}

TEST_F(SliceScannerTest, EveryWrongByteOfAHeadMakesARecordGarbage) {
  for (const size_t at : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 13U, 14U, 15U, 16U}) {
    std::string bytes = key_ + delta_ + key_;
    bytes[24 + at] = static_cast<char>(bytes[24 + at] ^ 0x10);
    ASSERT_THAT(scan(bytes), ElementsAre("record 0-24", "garbage 24-47", "record 47-71")) << at;
  }
}

TEST_F(SliceScannerTest, ARecordThatLacksBytesDoesNotSwallowTheNextOne) {
  std::string bytes = key_ + delta_ + key_ + delta_;
  bytes.erase(40, 4);
  EXPECT_THAT(scan(bytes),
              ElementsAre("record 0-24", "garbage 24-43", "record 43-67", "record 67-90"));
}

TEST_F(SliceScannerTest, RecordsOfTheLargestSize) {
  const std::string largest =
      record(KTRFrameFormat::Key, 5, std::string(KTRFrameFormat::MAX_FRAME_SIZE - 9, 'm'));
  const std::string end = std::to_string(largest.size());
  EXPECT_THAT(
      scan(largest + key_),
      ElementsAre("record 0-" + end, "record " + end + "-" + std::to_string(largest.size() + 24)));
  EXPECT_THAT(scan(largest.substr(0, largest.size() - 1)),
              ElementsAre("torn 0-" + std::to_string(largest.size() - 1)));
}

TEST_F(SliceScannerTest, AFileThatIsNotThereIsUnreadable) {
  SliceScanner scanner(dir_.path() + "/none");
  EXPECT_EQ(SliceScanner::Unreadable, scanner.next());
  EXPECT_EQ(ENOENT, scanner.file().error());
  EXPECT_EQ(SliceScanner::End, scanner.next());
}

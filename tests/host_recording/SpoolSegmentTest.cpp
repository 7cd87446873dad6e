#include "host/record/SpoolSegment.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "runtime/KTRFrameWriter.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/TempDir.h"

namespace {

class SpoolSegmentTest : public testing::Test {
 protected:
  [[nodiscard]] StreamFrame frame(std::int64_t timeMs) const {
    const unsigned char media[] = {7, 7, 7};
    StreamFrame made;
    made.bytes = KTRFrameWriter::build(KTRFrameFormat::Key, 0, {{media, sizeof media}});
    made.timeMs = timeMs;
    made.startsPlayback = true;
    made.settings = settings_;
    return made;
  }
  void append(std::int64_t timeMs, SpoolSegment::Use use = SpoolSegment::Record) {
    ASSERT_TRUE(file_->append(frame(timeMs), use));
  }
  void reopen() {
    file_ = SpoolSegment::open(path_);
    ASSERT_NE(nullptr, file_);
  }
  /** The time of the next frame; -1 at the end. */
  std::int64_t read() {
    StreamFrame next;
    SpoolSegment::Use use = SpoolSegment::Record;
    return file_ != nullptr && file_->read(next, use) ? next.timeMs : -1;
  }

  TempDir dir_;
  const std::string path_ = dir_.path() + "/1.spool";
  const std::shared_ptr<const StreamSettings> settings_ = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("n", 25, 0, "h264", "640x360", ""));
  std::unique_ptr<SpoolSegment> file_ = SpoolSegment::create(path_, settings_);
};

}  // namespace

TEST_F(SpoolSegmentTest, ReadsWhatWasAppendedWhileItIsAppendedTo) {
  append(1);
  EXPECT_EQ(1, read());
  EXPECT_EQ(-1, read());
  append(2);
  append(3);
  EXPECT_EQ(2U, file_->unread());
  EXPECT_EQ(2, read());
  EXPECT_EQ(3, read());
}

TEST_F(SpoolSegmentTest, PeekingTakesNothing) {
  append(1);
  StreamFrame next;
  ASSERT_TRUE(file_->peek(next));
  EXPECT_EQ(1, next.timeMs);
  EXPECT_EQ(1U, file_->unread());
  EXPECT_EQ(1U, file_->unrecorded());
  EXPECT_EQ(1, read());
}

TEST_F(SpoolSegmentTest, AnotherProcessBeginsBehindWhatIsSettled) {
  append(1);
  append(2);
  EXPECT_EQ(1, read());
  file_->settle(file_->readOffset());
  ASSERT_NO_FATAL_FAILURE(reopen());
  EXPECT_EQ(1U, file_->unread());
  EXPECT_EQ(2, read());
}

TEST_F(SpoolSegmentTest, ContextBehindAllThatWasReadCountsAsRead) {
  append(1, SpoolSegment::Context);
  EXPECT_EQ(0U, file_->unread());
  append(2);
  append(3, SpoolSegment::Context);
  EXPECT_EQ(2U, file_->unread());
  EXPECT_EQ(1U, file_->unrecorded());
  EXPECT_EQ(2, read());
  ASSERT_NO_FATAL_FAILURE(reopen());
  EXPECT_EQ(1, read());
}

TEST_F(SpoolSegmentTest, ADamagedFrameIsNotReadAndMayBePassedOver) {
  append(1);
  append(2);
  std::fstream bytes(path_, std::ios::binary | std::ios::in | std::ios::out);
  bytes.seekp(static_cast<std::streamoff>(std::filesystem::file_size(path_)) - 1);
  bytes.put(1);
  bytes.close();
  ASSERT_NO_FATAL_FAILURE(reopen());
  append(3);
  EXPECT_EQ(1, read());
  EXPECT_EQ(-1, read());
  EXPECT_EQ(1U, file_->skipGroup());
  EXPECT_EQ(3, read());
  EXPECT_FALSE(file_->isFaulty());
}

TEST_F(SpoolSegmentTest, AFrameThatFindsNoRoomLeavesTheFileAsItWas) {
  append(1);
  const auto size = std::filesystem::file_size(path_);
  FaultCalls faults;
  faults.shorten("pwrite", ".spool", 10, {1, 1});
  faults.fail("pwrite", ".spool", ENOSPC, {2, 1});
  EXPECT_FALSE(file_->append(frame(2), SpoolSegment::Record));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ(size, std::filesystem::file_size(path_));
  append(3);
  EXPECT_EQ(1, read());
  EXPECT_EQ(3, read());
}

TEST_F(SpoolSegmentTest, AFileThatCannotBeMadeIsNone) {
  EXPECT_EQ(nullptr, SpoolSegment::create(path_, settings_));
  EXPECT_EQ(EEXIST, errno);
  EXPECT_EQ(nullptr, SpoolSegment::create(dir_.path() + "/none/1.spool", settings_));
  EXPECT_EQ(ENOENT, errno);
}

// Its size would be counted, and leave no room for what comes.
TEST_F(SpoolSegmentTest, AFileWhoseFirstFrameLiesBehindItsEndIsNone) {
  append(1);
  file_->settle(file_->size());
  ASSERT_NO_FATAL_FAILURE(reopen());
  EXPECT_EQ(-1, read());
  file_->settle(file_->size() + 1);
  EXPECT_EQ(nullptr, SpoolSegment::open(path_));
}

#include "host/record/FrameSpool.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "runtime/KTLogger.h"
#include "runtime/KTRFrameWriter.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ManualClock.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

class FrameSpoolTest : public testing::Test {
 protected:
  /** Opens the spool as another process would. */
  void reopen(std::uint64_t limit = 1 << 30) {
    spool_.reset();
    spool_ = std::make_unique<FrameSpool>(directory(), limit);
  }
  [[nodiscard]] std::string directory() const { return dir_.path() + "/spool/home/1"; }
  [[nodiscard]] StreamFrame frame(std::int64_t timeMs, bool key, unsigned int bytes = 100) const {
    const std::vector<unsigned char> media(bytes, static_cast<unsigned char>(timeMs));
    const auto kind = key ? KTRFrameFormat::Key : KTRFrameFormat::Delta;
    return {
        KTRFrameWriter::build(kind, static_cast<std::uint32_t>(timeMs), {{media.data(), bytes}}),
        timeMs,
        key,
        false,
        settings_,
        0};
  }
  void append(std::int64_t timeMs, bool key = true, unsigned int bytes = 100) {
    ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(timeMs, key, bytes)));
  }
  /** Takes all frames out: their times. */
  std::vector<std::int64_t> take() {
    std::vector<std::int64_t> times;
    StreamFrame frame;
    while (spool_->take(frame)) times.push_back(frame.timeMs);
    if (!times.empty()) place_ = frame.spoolPlace;
    return times;
  }
  [[nodiscard]] std::vector<fs::path> files() const {
    std::error_code error;
    std::vector<fs::path> all;
    for (const auto& entry : fs::directory_iterator(directory(), error)) all.push_back(entry);
    std::sort(all.begin(), all.end());
    return all;
  }

  ManualClock clock_{1700000000};
  LogCapture log_;
  TempDir dir_;
  std::shared_ptr<const StreamSettings> settings_ = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("n", 25, 0, "h264", "640x360", ""));
  std::uint64_t place_ = 0;
  std::unique_ptr<FrameSpool> spool_ = std::make_unique<FrameSpool>(directory(), 1 << 30);
};

}  // namespace

TEST_F(FrameSpoolTest, GivesBackWhatWasPutInInOrder) {
  EXPECT_TRUE(spool_->empty());
  for (std::int64_t i = 1; i <= 5; ++i) append(i * 10'000'000'000, i == 1);
  EXPECT_EQ(5U, spool_->frames());
  StreamFrame first;
  ASSERT_TRUE(spool_->take(first));
  EXPECT_EQ(frame(10'000'000'000, true).bytes, first.bytes);
  EXPECT_TRUE(first.startsPlayback);
  EXPECT_TRUE(*first.settings == *settings_);
  EXPECT_THAT(take(), ElementsAre(20'000'000'000, 30'000'000'000, 40'000'000'000, 50'000'000'000));
}

TEST_F(FrameSpoolTest, KeepsForTheNextProcessWhatWasNotSettled) {
  for (std::int64_t i = 1; i <= 4; ++i) append(i);
  StreamFrame frame;
  ASSERT_TRUE(spool_->take(frame));
  ASSERT_TRUE(spool_->take(frame));
  spool_->settle(frame.spoolPlace);
  ASSERT_TRUE(spool_->take(frame));
  reopen();
  EXPECT_TRUE(spool_->hasLeftover());
  EXPECT_EQ(3, spool_->first()->timeMs);
  append(5);
  EXPECT_THAT(take(), ElementsAre(3, 4, 5));
  EXPECT_FALSE(spool_->hasLeftover());
  spool_->settle(place_);
  spool_->finish();
  EXPECT_TRUE(files().empty());
}

TEST_F(FrameSpoolTest, ATornTailEndsTheFileAtEveryLength) {
  append(1);
  append(2);
  spool_.reset();
  const fs::path file = files().front();
  const auto whole = fs::file_size(file);
  const auto record = SpoolSegment::sizeOf(frame(2, true));
  for (std::uint64_t cut = 1; cut <= record; ++cut) {
    fs::resize_file(file, whole - cut);
    reopen();
    EXPECT_THAT(take(), ElementsAre(1)) << cut;
  }
}

TEST_F(FrameSpoolTest, ADamagedFrameIsDroppedWithThoseThatNeedIt) {
  for (std::int64_t i = 1; i <= 6; ++i) append(i, i == 1 || i == 5);
  spool_.reset();
  const auto behind = static_cast<std::streamoff>(4 * SpoolSegment::sizeOf(frame(2, true)));
  std::fstream file(files().front(), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(-behind - 1, std::ios::end);  // the last byte of frame 2
  file.put('x');
  file.close();
  reopen();
  EXPECT_THAT(take(), ElementsAre(1, 5, 6));
  EXPECT_EQ(3U, spool_->takeDropped());
  EXPECT_TRUE(spool_->empty());
}

TEST_F(FrameSpoolTest, AFileThatTheDiskRefusesToReadIsKept) {
  append(1);
  append(2);
  FaultCalls faults;
  faults.fail("pread", ".spool", EIO, {2, 1});  // the first frame's bytes
  EXPECT_THAT(take(), ElementsAre(2));
  EXPECT_EQ(1U, spool_->takeDropped());
  spool_->settle(place_);
  spool_->finish();
  EXPECT_EQ(1U, files().size());
}

TEST_F(FrameSpoolTest, AFileStaysUntilWhatWasRecordedIsOnTheDisk) {
  append(1);
  EXPECT_THAT(take(), ElementsAre(1));
  spool_->settle(place_);
  append(2);
  EXPECT_EQ(2U, files().size());
  clock_.advanceSeconds(59);
  append(3);
  EXPECT_EQ(2U, files().size());
  clock_.advanceSeconds(1);
  append(4);
  EXPECT_EQ(1U, files().size());
  EXPECT_THAT(take(), ElementsAre(2, 3, 4));
}

TEST_F(FrameSpoolTest, AFileThatIsOnlyKeptMakesRoom) {
  reopen(10'000);
  append(1, true, 8000);
  EXPECT_THAT(take(), ElementsAre(1));
  spool_->settle(place_);
  append(2, false, 8000);
  EXPECT_EQ(0U, spool_->takeDropped());
  EXPECT_THAT(take(), ElementsAre(2));
}

TEST_F(FrameSpoolTest, AFileThatIsNoneIsLeftAlone) {
  fs::create_directories(directory());
  std::ofstream(directory() + "/7.spool") << "something else";
  reopen();
  EXPECT_TRUE(spool_->empty());
  EXPECT_TRUE(
      log_.has(KTLogger::Warning, directory() + "/7.spool is no spool file: it is left alone"));
  append(1);
  EXPECT_EQ(2U, files().size());
}

TEST_F(FrameSpoolTest, WhenItIsFullTheOldestGroupsGo) {
  reopen(100'000);
  for (std::int64_t i = 0; i < 100; ++i) append(i, i % 4 == 0, 2000);
  const std::uint64_t dropped = spool_->takeDropped();
  EXPECT_EQ(0U, dropped % 4);
  const std::vector<std::int64_t> kept = take();
  EXPECT_EQ(100U, kept.size() + dropped);
  EXPECT_EQ(static_cast<std::int64_t>(dropped), kept.front());
  EXPECT_EQ(99, kept.back());
  EXPECT_LT(35U, kept.size());
}

TEST_F(FrameSpoolTest, AGroupLargerThanTheSpoolGoesAsAWhole) {
  reopen(10'000);
  for (std::int64_t i = 0; i < 20; ++i) append(i, i == 0 || i == 18, 2000);
  EXPECT_EQ(18U, spool_->takeDropped());
  EXPECT_THAT(take(), ElementsAre(18, 19));
}

TEST_F(FrameSpoolTest, ContextIsForAnotherProcess) {
  ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(1, true), SpoolSegment::Context));
  append(2, false);
  EXPECT_THAT(take(), ElementsAre(2));
  reopen();
  EXPECT_THAT(take(), ElementsAre(1, 2));
}

TEST_F(FrameSpoolTest, ContextAloneIsNothingToTake) {
  append(1);
  EXPECT_THAT(take(), ElementsAre(1));
  ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(2, false), SpoolSegment::Context));
  EXPECT_TRUE(spool_->empty());
  reopen();
  EXPECT_THAT(take(), ElementsAre(1, 2));
}

TEST_F(FrameSpoolTest, ContextOfAnEarlierTimeComesTooAfterAStepOfTheClock) {
  append(5'000);
  ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(1'000, true), SpoolSegment::Context));
  reopen();
  EXPECT_THAT(take(), ElementsAre(5'000, 1'000));
}

TEST_F(FrameSpoolTest, ContextGoesWhenItIsSettled) {
  ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(1, true), SpoolSegment::Context));
  const std::uint64_t first = spool_->end();
  ASSERT_EQ(FrameSpool::Stored, spool_->append(frame(2, false), SpoolSegment::Context));
  spool_->settle(first);
  EXPECT_EQ(1U, files().size());
  spool_->settle(spool_->end());
  spool_->finish();
  EXPECT_TRUE(files().empty());
}

TEST_F(FrameSpoolTest, OtherSettingsAreAnotherFile) {
  append(1);
  settings_ = std::make_shared<const StreamSettings>(
      KTRVideoSettingsRow("o", 30, 0, "hevc", "1280x720", ""));
  append(2);
  EXPECT_EQ(2U, files().size());
  reopen();
  StreamFrame frame;
  ASSERT_TRUE(spool_->take(frame) && spool_->take(frame));
  EXPECT_TRUE(*frame.settings == *settings_);
}

TEST_F(FrameSpoolTest, WithoutASizeNothingIsStored) {
  reopen(0);
  EXPECT_FALSE(spool_->stores());
  EXPECT_EQ(FrameSpool::Refused, spool_->append(frame(1, true)));
  EXPECT_TRUE(files().empty());
}

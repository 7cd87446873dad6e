#include <cerrno>
#include <filesystem>

#include "tests/faults/FaultFixture.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAreArray;

/** Files that cannot be made, opened, closed or removed, and calls that are carried through. */
class WriteFaultsTest : public FaultFixture {
 protected:
  [[nodiscard]] std::string sessions() {
    return value("SELECT group_concat(id ORDER BY id) FROM recordSessions");
  }
};

TEST_F(WriteFaultsTest, ShortAndInterruptedWritesLoseNothing) {
  faults_.shorten("pwrite", slice(0), 7, {1, 40});
  faults_.fail("pwrite", slice(0), EINTR, {41, 3});
  roll();
  film(2 * FLUSH + 1);
  finish();
  EXPECT_EQ(faults_.count(), 43U);
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 23)));
  EXPECT_EQ(index(2), (Index{4, 0}));
  EXPECT_EQ(log_.countContaining("NULL res"), 0U);
}

TEST_F(WriteFaultsTest, InterruptedOpensAndClosesAreNoFailures) {
  faults_.fail("open", slice(0), EINTR, {1, 2});
  faults_.fail("open", slice(1), EINTR);
  faults_.fail("close", slice(0), EINTR);
  roll(smallSlices());
  film(FLUSH + 3);
  EXPECT_EQ(session_->progress().sliceIndex, 1U);
  finish();
  EXPECT_EQ(faults_.count(), 4U);
  EXPECT_EQ(log_.countContaining("Failed !!!!"), 0U);
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 14)));
}

TEST_F(WriteFaultsTest, ANextSliceThatCannotBeOpenedEndsTheSessionAtTheNextFlush) {
  faults_.fail("open", slice(1), EMFILE);
  roll(smallSlices());
  film(40);
  EXPECT_TRUE(ended());
  EXPECT_EQ(elapsed(), 22);
  finish();
  expectError("writeKTRData: NULL res:-1 , " + std::to_string(11 * recordSize()) + " bytes");
  expectError("Saving error !!! fileindex:1 record:2 offset:" + std::to_string(10 * recordSize()));
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 12)));
  EXPECT_EQ(index(2), (Index{3, 1}));
  EXPECT_FALSE(fs::exists(storedSlice(2, 1)));
  expectNextSessionWorks();
}

TEST_F(WriteFaultsTest, AFirstSliceThatCannotBeOpenedLeavesARowThatTheNextSessionReplaces) {
  for (const int error : {ENOSPC, EACCES, EMFILE}) {
    faults_.fail("open", "_F0.dat", error);
    roll();
    film(1);
    EXPECT_TRUE(ended());
    EXPECT_EQ(value("SELECT count(*) FROM recordSessions WHERE start_time=0"), "1");
  }
  EXPECT_EQ(log_.countContaining("opened Failed !!!!"), 3U);
  expectNextSessionWorks();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "2");
}

TEST_F(WriteFaultsTest, ADirectoryThatCannotBeMadeEndsTheSessionBeforeItHasARow) {
  for (const int error : {ENOSPC, EACCES, EROFS, EMLINK}) {
    log_.clear();
    faults_.fail("mkdir", dir_.path() + "/2023/11", error);
    roll();
    film(1);
    EXPECT_TRUE(ended());
    expectError(dir_.path() + "/2023/11 creation failed ");
    expectError("Cant Create Directory !!");
  }
  EXPECT_EQ(sessions(), "1");
  expectNextSessionWorks();
}

TEST_F(WriteFaultsTest, ACloseThatReportsALateErrorIsLogged) {
  faults_.fail("close", slice(0), EIO);
  roll(smallSlices());
  film(FLUSH + 3);
  EXPECT_FALSE(ended());
  expectError("KTRFile " + storedSlice(2, 0) + " closed Failed !!!!");
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 14)));
}

TEST_F(WriteFaultsTest, ASliceThatCannotBeRemovedStaysWithoutRows) {
  roll(smallSlices());
  film(2 * FLUSH + 5);
  finish();
  faults_.fail("unlink", slice(0), EIO);
  EXPECT_TRUE(db()->deleteOlderSlicesOfRecorderSession(2));
  expectError("[ REMOVE FILE ERROR] : " + storedSlice(2, 0));
  EXPECT_TRUE(fs::exists(storedSlice(2, 0)));
  EXPECT_EQ(value("SELECT count(*) FROM dataStreams WHERE _id=2 AND _fileIndex=0"), "0");
  EXPECT_THAT(played(), ElementsAreArray(seconds(15, 27)));
}

TEST_F(WriteFaultsTest, ADirectoryThatIsRemovedCostsWhatWasInItUntilTheNextSession) {
  KTRStreamRecordParams elsewhere = smallSlices();
  elsewhere.storageDir = dir_.entry("other");
  roll(elsewhere);
  film(FLUSH + 2);
  fs::remove_all(dir_.path() + "/other");
  film(40);
  EXPECT_TRUE(ended());
  EXPECT_EQ(elapsed(), 33) << "at the first flush behind the slice that was open";
  EXPECT_EQ(log_.countContaining("Saving error !!! fileindex:2 record:2"), 1U);
  finish();
  clock_.advanceSeconds(1);
  const int from = elapsed();
  roll(elsewhere);
  film(KEY_PERIOD + 1);
  finish();
  EXPECT_THAT(played(from), ElementsAreArray(seconds(from, from + KEY_PERIOD + 1)));
}

TEST_F(WriteFaultsTest, ShortAndInterruptedReadsLoseNothing) {
  roll();
  film(8);
  finish();
  faults_.shorten("pread", slice(0), 9, {1, 20});
  faults_.fail("pread", slice(0), EINTR, {21, 3});
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 8)));
  EXPECT_EQ(faults_.count(), 23U);
}

TEST_F(WriteFaultsTest, FramesInFrontOfABadPlaceArePlayed) {
  roll();
  film(8);
  finish();
  faults_.shorten("pread", slice(0), 5 * recordSize() + 3, {1, 1});
  faults_.fail("pread", slice(0), EIO, {2, FaultCalls::ALWAYS});
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 5)));
  expectError("KTRFile " + storedSlice(2, 0) + " read Failed !!!!");
  faults_.restore();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 8)));
}

}  // namespace

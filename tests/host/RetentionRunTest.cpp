#include "host/retain/RetentionRun.h"

#include <filesystem>
#include <fstream>

#include "tests/host/RetentionFixture.h"
#include "tests/host/UsageErrors.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class RetentionRunTest : public RetentionFixture {};

}  // namespace

TEST_F(RetentionRunTest, WithoutAGoalNothingGoes) {
  record(1, NOW - 300 * DAY, 3);
  const RetentionRun::Result result = pass(nothing());
  EXPECT_EQ(0U, result.deletions);
  EXPECT_EQ("1.0 1.1 1.2", onDisk());
}

TEST_F(RetentionRunTest, CutsTheOldestSlicesDownToTheSizeAndNoFurther) {
  record(1, NOW - 5 * DAY, 4);
  record(1, NOW - 4 * DAY, 4);
  const RetentionRun::Result result = pass(maxSlices(5));
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1.1", "1.2"));
  EXPECT_EQ("1.3 2.0 2.1 2.2 2.3", onDisk());
  EXPECT_EQ("1.3 2.0 2.1 2.2 2.3", indexed());
  EXPECT_EQ(3 * SLICE, result.deletedBytes);
  EXPECT_EQ(5 * SLICE, result.keptBytes);
  EXPECT_EQ("", result.problem);
  EXPECT_EQ("the recorder holds 7.8 KiB of at most 4.9 KiB", reasons_.front());
}

TEST_F(RetentionRunTest, ASizeThatIsMetExactlyIsMet) {
  record(1, NOW - 5 * DAY, 5);
  EXPECT_EQ(0U, pass(maxSlices(5)).deletions);
}

TEST_F(RetentionRunTest, TheLastSliceGoesWithItsSession) {
  record(1, NOW - 5 * DAY, 2);
  record(1, NOW - 4 * DAY, 1);
  std::ofstream(prefixOf(1) + "audioHeader.dat") << "codec";
  std::ofstream(slicePath(1, 7)) << "without an index row";
  EXPECT_EQ("", pass(maxSlices(1)).problem);
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1"));
  EXPECT_EQ("2.0", onDisk());
  EXPECT_EQ("2", rows());
  EXPECT_FALSE(fs::exists(prefixOf(1) + "audioHeader.dat"));
}

TEST_F(RetentionRunTest, StreamsThatRunTogetherLoseTheirFootageTogether) {
  record(1, NOW - DAY, 3);
  record(2, NOW - DAY + 10, 3);
  (void)pass(maxSlices(2));
  EXPECT_THAT(deleted_, ElementsAre("1.0", "2.0", "1.1", "2.1"));
}

TEST_F(RetentionRunTest, ASliceGoesByAgeWhenAllOfItIsOlder) {
  record(1, NOW - 10 * DAY, 3);
  const RetentionRun::Result result = pass(maxAge(10 * DAY - SLICE_TIME - 1));
  EXPECT_THAT(deleted_, ElementsAre("1.0"));
  EXPECT_EQ("older than 9d23h58m19s", reasons_.front());
  EXPECT_EQ("", result.problem);
  EXPECT_EQ(0U, pass(maxAge(10 * DAY - SLICE_TIME - 1)).deletions);
}

TEST_F(RetentionRunTest, AShortSessionGoesByAgeBeforeALongOneThatBeganEarlier) {
  record(1, NOW - 10 * DAY, 1);
  (void)handle_->recordSessionTable()->updateEndTime(1, NOW - DAY, 0);
  handle_->recordSessionTable()->updateDataBase(true);
  record(2, NOW - 9 * DAY, 1);
  (void)pass(maxAge(5 * DAY));
  EXPECT_THAT(deleted_, ElementsAre("2"));
}

TEST_F(RetentionRunTest, FreesAsMuchAsTheFloorNeeds) {
  diskSlices_ = 10;
  record(1, NOW - 5 * DAY, 8);
  const RetentionRun::Result result = pass(minFreeSlices(5));
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1.1", "1.2"));
  EXPECT_EQ("2.0 KiB of the disk are free, 4.9 KiB are to be", reasons_.front());
  EXPECT_EQ("", result.problem);
  EXPECT_EQ(0U, pass(minFreeSlices(5)).deletions);
}

TEST_F(RetentionRunTest, AFloorInPercentIsOfTheWholeFileSystem) {
  diskSlices_ = 10;
  record(1, NOW - 5 * DAY, 8);
  RetentionPolicy policy;
  policy.minFree = FreeFloor::parse("40%");
  (void)pass(policy);
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1.1"));
}

TEST_F(RetentionRunTest, StopsAtTheBytesThatAreNeededWhenTheDiskShowsThemLater) {
  diskSlices_ = 10;
  record(1, NOW - 5 * DAY, 8);
  RetentionRun::Options options = optionsOf(minFreeSlices(4));
  options.space = [](const std::string&) { return FileSystemSpace{10 * SLICE, 2 * SLICE}; };
  (void)pass(options);
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1.1"));
}

TEST_F(RetentionRunTest, StopsEarlyWhenSomeoneElseMakesRoom) {
  record(1, NOW - 5 * DAY, 8);
  RetentionRun::Options options = optionsOf(minFreeSlices(6));
  int asked = 0;
  options.space = [&asked](const std::string&) {
    return FileSystemSpace{10 * SLICE, ++asked <= 2 ? 0 : 10 * SLICE};
  };
  (void)pass(options);
  EXPECT_THAT(deleted_, ElementsAre("1.0"));
}

TEST_F(RetentionRunTest, RefusesAFloorThatTheDiskCannotHold) {
  diskSlices_ = 10;
  record(1, NOW - 5 * DAY, 8);
  EXPECT_THAT(failureOf([&] { return pass(minFreeSlices(10)); }), HasSubstr("give less"));
  EXPECT_EQ(8U, (onDisk().size() + 1) / 4);
}

TEST_F(RetentionRunTest, NeverCutsWhatIsYoungerThanTheLeastAge) {
  record(1, NOW - 10 * DAY, 2);
  record(1, NOW - DAY, 2);
  RetentionPolicy policy = maxSlices(0);
  policy.keepAtLeast = 2 * DAY;
  const RetentionRun::Result result = pass(policy);
  EXPECT_EQ("2.0 2.1", onDisk());
  EXPECT_THAT(result.problem,
              HasSubstr("nothing more may be deleted: make room on the disk, or ask for less"));
  EXPECT_FALSE(result.needsNewSessions);
}

TEST_F(RetentionRunTest, ASliceThatEndsWithinTheLeastAgeStays) {
  record(1, NOW - 2 * SLICE_TIME, 2);
  RetentionPolicy policy = maxSlices(0);
  policy.keepAtLeast = SLICE_TIME;
  (void)pass(policy);
  EXPECT_THAT(deleted_, IsEmpty());
}

TEST_F(RetentionRunTest, AnOldSliceOfALongSessionDoesNotHideOlderEnds) {
  record(1, NOW - 10 * DAY, 1);
  (void)handle_->recordSessionTable()->updateEndTime(1, NOW, 0);
  handle_->recordSessionTable()->updateDataBase(true);
  record(2, NOW - 9 * DAY, 1);
  RetentionPolicy policy = maxSlices(0);
  policy.keepAtLeast = DAY;
  (void)pass(policy);
  EXPECT_THAT(deleted_, ElementsAre("2"));
}

TEST_F(RetentionRunTest, NeverTouchesAnOpenSession) {
  record(1, NOW - 10 * DAY, 3);
  record(1, NOW - 5 * DAY, 3);
  RetentionRun::Options options = optionsOf(maxSlices(0));
  options.openSessions = [] { return std::set<unsigned int>{1}; };
  const RetentionRun::Result result = pass(options, true);
  EXPECT_EQ("1.0 1.1 1.2", onDisk());
  EXPECT_TRUE(result.needsNewSessions);
  EXPECT_THAT(result.problem, HasSubstr("the rest is being recorded"));
}

TEST_F(RetentionRunTest, ASessionThatHasJustBegunIsTakenAsOpen) {
  record(1, NOW - SLICE_TIME, 1);
  (void)pass(optionsOf(maxSlices(0)), true);
  EXPECT_EQ("1.0", onDisk());
}

TEST_F(RetentionRunTest, ARunningWindowIsTakenAsOpenAndOneThatWasLeftIsNot) {
  record(1, NOW - 10 * DAY, 1);
  record(1, NOW - SLICE_TIME, 1);
  (void)handle_->db_do_query("UPDATE recordSessions SET dataAvailable=2");
  (void)pass(optionsOf(maxSlices(0)), true);
  EXPECT_EQ("2.0", onDisk());
  clock_.advanceSeconds(1);
  (void)pass(maxSlices(0));
  EXPECT_EQ("", onDisk());
}

TEST_F(RetentionRunTest, LeavesWhatLiesElsewhereAlone) {
  recordInto(dir_.path() + "/other/2025/12/01/", 1, NOW - 30 * DAY, 2);
  recordInto(directory() + "/../keep2/", 2, NOW - 30 * DAY, 2);
  recordInto(dir_.path() + "/keep2/", 1, NOW - 29 * DAY, 2);
  record(1, NOW - 10 * DAY, 2);
  RetentionPolicy policy = maxSlices(0);
  policy.maxAge = DAY;
  const RetentionRun::Result result = pass(policy);
  EXPECT_THAT(deleted_, ElementsAre("4.0", "4"));
  EXPECT_EQ(0U, result.keptBytes);
  EXPECT_EQ("1 2 3", rows());
  EXPECT_TRUE(log_.has(
      64, "session 3 is not stored below " + directory() + ": it is not counted, and kept"));
  for (unsigned int id : {1U, 2U, 3U}) EXPECT_TRUE(fs::exists(slicePath(id, 0))) << id;
}

TEST_F(RetentionRunTest, ADryRunTellsTheSameAndChangesNothing) {
  diskSlices_ = 20;
  record(1, NOW - 10 * DAY, 3);
  record(2, NOW - 5 * DAY, 4);
  RetentionPolicy policy = minFreeSlices(18);
  policy.maxAge = 9 * DAY;
  RetentionRun::Options dry = optionsOf(policy);
  dry.dryRun = true;
  EXPECT_EQ("", pass(dry).problem);
  const auto told = deleted_;
  const auto why = reasons_;
  EXPECT_EQ("1.0 1.1 1.2 2.0 2.1 2.2 2.3", onDisk());
  EXPECT_EQ(onDisk(), indexed());
  EXPECT_EQ("1 2", rows());
  (void)pass(policy);
  EXPECT_EQ(told, deleted_);
  EXPECT_EQ(why, reasons_);
  EXPECT_THAT(deleted_, ElementsAre("1.0", "1.1", "1", "2.0", "2.1"));
}

TEST_F(RetentionRunTest, RemovesTheDaysThatAreEmptyThen) {
  record(1, NOW - 40 * DAY, 1);
  record(1, NOW - 39 * DAY, 1);
  fs::create_directories(directory() + "/" + dayOf(NOW));
  (void)pass(maxAge(39 * DAY + 1000));
  EXPECT_FALSE(fs::exists(directory() + "/" + dayOf(NOW - 40 * DAY)));
  EXPECT_TRUE(fs::exists(directory() + "/" + dayOf(NOW - 39 * DAY)));
  EXPECT_TRUE(fs::exists(directory() + "/" + dayOf(NOW)));
}

TEST_F(RetentionRunTest, PurgesIndexRowsOfSessionsThatAreGone) {
  record(1, NOW - 40 * DAY, 2);
  record(1, NOW - 30 * DAY, 2);
  record(1, NOW - 2 * DAY, 1);
  (void)handle_->db_do_query("DELETE FROM recordSessions WHERE id=1");
  (void)pass(maxAge(20 * DAY));
  EXPECT_EQ("3.0", indexed());
}

TEST_F(RetentionRunTest, AStopEndsThePass) {
  record(1, NOW - 10 * DAY, 3);
  RetentionRun::Options options = optionsOf(maxSlices(0));
  options.stop = [this] { return !deleted_.empty(); };
  (void)pass(options);
  EXPECT_THAT(deleted_, ElementsAre("1.0"));
}

TEST_F(RetentionRunTest, AFileThatStaysEndsThePass) {
  record(1, NOW - 10 * DAY, 2);
  record(1, NOW - 9 * DAY, 2);
  fs::remove(slicePath(1, 0));
  fs::create_directories(slicePath(1, 0) + "/x");  // no unlink() removes it
  const RetentionRun::Result result = pass(maxSlices(0));
  EXPECT_THAT(deleted_, IsEmpty());
  EXPECT_THAT(result.problem, HasSubstr("slice 0 of session 1, stream 1, "));
  EXPECT_THAT(result.problem, HasSubstr("could not be deleted: check the rights"));
  EXPECT_EQ("2.0 2.1", onDisk().substr(onDisk().size() - 7));
}

TEST_F(RetentionRunTest, ASessionKeepsItsRowWhileAFileOfItStays) {
  record(1, NOW - 10 * DAY, 1);
  fs::remove(slicePath(1, 0));
  fs::create_directories(slicePath(1, 0) + "/x");
  EXPECT_NE("", pass(maxAge(DAY)).problem);
  EXPECT_EQ("1", rows());
  EXPECT_EQ("1.0", indexed());
}

TEST_F(RetentionRunTest, RowsWithoutFilesGoByAgeOnly) {
  record(1, NOW - 10 * DAY, 1);
  record(1, NOW - 9 * DAY, 1);
  fs::remove(slicePath(1, 0));
  (void)pass(maxSlices(0));
  EXPECT_THAT(deleted_, ElementsAre("2"));
  (void)pass(maxAge(DAY));
  EXPECT_THAT(deleted_, ElementsAre("1"));
  EXPECT_EQ("", rows());
}

TEST_F(RetentionRunTest, ASessionWithoutIndexGoesWhole) {
  record(1, NOW - 10 * DAY, 2);
  (void)handle_->db_do_query("DROP TABLE dataStreams");
  EXPECT_EQ("", pass(maxSlices(0)).problem);
  EXPECT_THAT(deleted_, ElementsAre("1"));
  EXPECT_EQ("", onDisk());
}

TEST_F(RetentionRunTest, ASessionWhoseIndexCannotBeReadStays) {
  record(1, NOW - 10 * DAY, 2);
  (void)handle_->db_do_query("ALTER TABLE dataStreams CHANGE _time _when INT UNSIGNED");
  EXPECT_NE("", pass(maxSlices(0)).problem);
  EXPECT_EQ("1.0 1.1", onDisk());
  EXPECT_EQ("1", rows());
}

TEST_F(RetentionRunTest, TellsWhatHowMuchAndWhy) {
  record(1, NOW - DAY, 2);
  RetentionRun::Options options = optionsOf(maxSlices(1));
  std::string line;
  options.report = [&line](const RetentionRun::Deletion& deletion) { line = deletion.line(); };
  (void)RetentionRun(*handle_, options).pass(false);
  EXPECT_EQ(
      "deleted slice 0 of session 1, stream 1, 2026-01-01 10:00:00 to 2026-01-01 10:01:40: 1.0 "
      "KiB: "
      "the recorder holds 2.0 KiB of at most 1.0 KiB",
      line);
}

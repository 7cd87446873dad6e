#include "host/check/CheckRun.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>

#include "tests/host_recording/CheckFixture.h"
#include "tests/support/FaultCalls.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class CheckRunTest : public CheckFixture {};

const std::string ZEROS(5000, '\0');

}  // namespace

TEST_F(CheckRunTest, SoundRecordingsAreClean) {
  recordSlices();
  pass(90000);
  begin();
  record(1, 5, 700);  // too short for an index row
  end();
  EXPECT_THAT(findings(), ElementsAre("no-end-time 2"));
  exec("UPDATE recordSessions SET end_time=start_time+2 WHERE id=2");
  begin();
  record(40, 2, 110);  // many key frames a second
  end();
  beginSlices();
  record(200, 1, 250);  // only key frames
  end();
  expectClean();
  EXPECT_THAT(rows("SELECT DISTINCT _fileIndex FROM dataStreams WHERE _id=4"), Contains("2"));
}

TEST_F(CheckRunTest, SoundJpegRecordingsAreClean) {
  beginSlices();
  record(120, 1, 333, KTRFrameFormat::Jpeg);
  end();
  expectClean();
}

TEST_F(CheckRunTest, ARecordingWithoutTheTimeOfItsLastFrameIsClean) {
  begin();
  record(6, 20, 100);
  end();
  EXPECT_EQ(std::to_string(START + 10), value("SELECT end_time FROM recordSessions"));
  expectClean();
  exec("UPDATE recordSessions SET end_time=end_time+1");
  expectClean();
  exec("UPDATE recordSessions SET end_time=end_time+1");
  EXPECT_THAT(findings(), ElementsAre("wrong-end-time 1"));
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("wrong-end-time 1"));
}

TEST_F(CheckRunTest, TellsWhatWasThrownAwayFromWhatHasLostItsRows) {
  recordSlices();
  exec("CREATE TABLE eventWindows (id INT UNSIGNED NOT NULL PRIMARY KEY)");
  exec("INSERT INTO eventWindows VALUES (1)");
  expectClean();
  exec("DELETE FROM dataStreams");
  exec("DELETE FROM recordSessions");
  EXPECT_THAT(findings(), ElementsAre("thrown-away 1"));
  exec("DELETE FROM eventWindows");
  EXPECT_THAT(findings(), ElementsAre("files-without-rows 1"));
}

TEST_F(CheckRunTest, AStartThatAnotherSessionHadIsClean) {
  recordSlices();
  exec("UPDATE recordSessions SET start_time=start_time+5");
  expectClean();
  exec("UPDATE recordSessions SET start_time=start_time+1");
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("wrong-start-time 1"));
}

TEST_F(CheckRunTest, AnEndThatIsTooLateIsFoundAtLevelIndex) {
  recordSlices();
  const std::string last = value("SELECT MAX(_fileIndex) FROM dataStreams");
  exec("UPDATE recordSessions SET end_time=end_time+900");
  EXPECT_THAT(findings(CheckLevel::Files), IsEmpty());
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("wrong-end-time 1"));
  exec("DELETE FROM dataStreams WHERE _fileIndex=" + last);
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("wrong-end-time 1"));
}

TEST_F(CheckRunTest, StartAndEndOfOldSessionsAreLookedAtWhileTheRecorderRecords) {
  recordSlices();
  pass(300'000);
  beginSlices();
  record(3, 7, 500);
  expectClean(true);
  exec("UPDATE recordSessions SET start_time=start_time-7 WHERE id=1");
  EXPECT_THAT(findings(CheckLevel::Index, true), ElementsAre("wrong-start-time 1"));
  exec("UPDATE recordSessions SET start_time=start_time+7,end_time=end_time+90 WHERE id=1");
  EXPECT_THAT(findings(CheckLevel::Index, true), ElementsAre("wrong-end-time 1"));
  exec("UPDATE recordSessions SET start_time=start_time-7 WHERE id=2");
  EXPECT_THAT(findings(CheckLevel::Index, true), ElementsAre("wrong-end-time 1"));
  end();
}

TEST_F(CheckRunTest, AnIndexThatIsGoneIsFoundAtLevelIndex) {
  recordSlices();
  exec("DELETE FROM dataStreams");
  EXPECT_THAT(findings(CheckLevel::Files), IsEmpty());
  EXPECT_THAT(findings(CheckLevel::Index), Contains("frames-without-row 1.1"));
  EXPECT_EQ(findings(), findings(CheckLevel::Index));
}

TEST_F(CheckRunTest, SlicesThatCannotBeRead) {
  recordSlices();
  {
    FaultCalls faults;
    faults.fail("pread", "_F1.dat", EIO, {1, FaultCalls::ALWAYS});
    EXPECT_THAT(findings(), Contains("unreadable 1.1"));
  }
  expectClean();
  const std::string sound = read(slice(1));
  fs::remove(slice(1));
  fs::create_directory(slice(1));
  EXPECT_THAT(findings(), Contains("unreadable 1.1"));
  fs::remove(slice(1));
  write(slice(1), sound);
  expectClean();
}

TEST_F(CheckRunTest, SessionsOverMidnightAreClean) {
  pass((86400 - START % 86400) * 1000 - 5000);
  begin();
  record(30, 4, 250);
  end();
  ASSERT_EQ("2", value("SELECT count(*) FROM recordSessions"));
  expectClean();
}

TEST_F(CheckRunTest, ASessionThatHasLostItsOldestSlicesIsClean) {
  recordSlices();
  for (const unsigned int gone : {0U, 1U}) {
    (void)db()->deleteOlderSlicesOfRecorderSession(1);
    db()->recordSessionTable()->updateDataBase(true);
    EXPECT_FALSE(fs::exists(slice(gone)));
    expectClean();
  }
}

TEST_F(CheckRunTest, ARecordingInProgressIsClean) {
  beginSlices();
  expectClean(true);
  for (int i = 0; i < 12; ++i) {
    record(1, 7, 500);
    expectClean(true);
  }
  EXPECT_FALSE(findings().empty());
  end();
  expectClean();
}

TEST_F(CheckRunTest, TornTailsAtEveryLength) {
  recordSlices();
  const std::vector<uint64_t> borders = bordersOf(slice(1));
  const uint64_t last = borders[borders.size() - 2];
  for (uint64_t size = last + 1; size < borders.back(); ++size) {
    cut(slice(1), size);
    ASSERT_THAT(findings(), Contains("torn-tail 1.1")) << size;
    ASSERT_THAT(findings(), testing::Not(Contains("garbage 1.1"))) << size;
  }
  cut(slice(1), last);
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(CheckRunTest, ATailOfZerosIsTorn) {
  recordSlices();
  const std::vector<uint64_t> borders = bordersOf(slice(1));
  append(slice(1), ZEROS);
  EXPECT_THAT(findings(), ElementsAre("torn-tail 1.1"));
  for (uint64_t size = borders[borders.size() - 2] + 1; size < borders.back() - 22; ++size) {
    cut(slice(1), size);
    append(slice(1), ZEROS);
    ASSERT_THAT(findings(), Contains("torn-tail 1.1")) << size;
  }
}

TEST_F(CheckRunTest, GarbageInTheMiddle) {
  recordSlices();
  const std::vector<uint64_t> borders = bordersOf(slice(1));
  for (uint64_t at = borders[2]; at < borders[3] - 23; ++at) {
    const std::string sound = read(slice(1));
    overwrite(slice(1), at, std::string(1, static_cast<char>(~sound[at])));
    const bool isStamp = at >= borders[2] + 9 && at < borders[2] + 13;
    ASSERT_TRUE(isStamp || !findings().empty()) << at - borders[2];
    write(slice(1), sound);
  }
  write(slice(1), "noise" + read(slice(1)) + "noise");
  EXPECT_THAT(findings(), Contains("garbage 1.1"));
  EXPECT_THAT(findings(), testing::Not(Contains("torn-tail 1.1")));
}

TEST_F(CheckRunTest, RowsThatPointAside) {
  recordSlices();
  const char* const one = " WHERE _id=1 AND _fileIndex=1 LIMIT 1";
  const std::string offset = value(std::string("SELECT _offset FROM dataStreams") + one);
  const auto set = [&](const std::string& column, const std::string& text) {
    exec("UPDATE dataStreams SET " + column + "=" + text + one);
  };
  set("_offset", offset + "+3");
  EXPECT_THAT(findings(CheckLevel::Files), IsEmpty());
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("rows-at-no-record 1.1"));
  EXPECT_THAT(findings(), ElementsAre("rows-at-no-record 1.1"));
  set("_offset", std::to_string(bordersOf(slice(1))[3]));  // a delta frame, or a later key
  EXPECT_FALSE(findings(CheckLevel::Index).empty());
  set("_offset", "1000000");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("rows-behind-end 1.1"));
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("rows-behind-end 1.1"));
  set("_offset", offset);
  EXPECT_THAT(findings(), IsEmpty());
  set("_time", "_time+1");
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("rows-with-wrong-time 1.1"));
  set("_time", "_time-1-86400");
  EXPECT_THAT(findings(CheckLevel::Index), Contains("rows-with-wrong-time 1.1"));
  set("_time", "_time+86400");
  EXPECT_THAT(findings(), IsEmpty());
  set("_fileIndex", "0");
  EXPECT_FALSE(findings(CheckLevel::Index).empty());
}

TEST_F(CheckRunTest, RowsInTheWrongSlice) {
  recordSlices();
  exec("UPDATE dataStreams SET _fileIndex=_fileIndex-1 WHERE _id=1 AND _fileIndex=2 AND _offset>0");
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("rows-in-wrong-slice 1.1"));
}

TEST_F(CheckRunTest, KeyFramesWithoutRows) {
  recordSlices();
  exec("DELETE FROM dataStreams WHERE _id=1 AND _fileIndex=1");
  EXPECT_THAT(findings(CheckLevel::Index), IsEmpty());
  EXPECT_THAT(findings(), ElementsAre("frames-without-row 1.1"));
}

TEST_F(CheckRunTest, FilesWithoutRowsAndRowsWithoutFiles) {
  recordSlices();
  exec("DELETE FROM recordSessions");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("files-without-rows 1"));
  for (const auto& entry : fs::directory_iterator(dayDirectory())) fs::remove(entry.path());
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("index-without-session 1"));
  begin();
  record(3, 3, 500);
  end();
  fs::remove(slicePath(2, 0));
  EXPECT_THAT(findings(CheckLevel::Files),
              ElementsAre("index-without-session 1", "rows-without-files 2"));
  exec("UPDATE recordSessions SET dataAvailable=0");
  exec("DELETE FROM dataStreams");
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(CheckRunTest, SlicesThatAreMissing) {
  recordSlices();
  fs::remove(slice(1));
  EXPECT_THAT(findings(CheckLevel::Files),
              ElementsAre("missing-slice 1.1", "rows-in-missing-slice 1.1"));
}

TEST_F(CheckRunTest, SessionRowsThatAreNotFinished) {
  recordSlices();
  const std::string end = value("SELECT end_time FROM recordSessions");
  exec("UPDATE recordSessions SET end_time=0");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("no-end-time 1"));
  exec("UPDATE recordSessions SET start_time=0");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("half-born-session 1"));
  exec("UPDATE recordSessions SET dataAvailable=2,end_time=" + end);
  EXPECT_THAT(findings(), ElementsAre("unconfirmed 1", "wrong-start-time 1"));
  exec("UPDATE recordSessions SET dataAvailable=0,start_time=" + std::to_string(START));
  EXPECT_THAT(findings(), ElementsAre("marked-as-gone 1"));
  exec("UPDATE recordSessions SET dataAvailable=1,end_time=start_time+5");
  EXPECT_THAT(findings(CheckLevel::Index), ElementsAre("wrong-end-time 1"));
}

TEST_F(CheckRunTest, AHalfBornRowWithoutAnyFile) {
  recordSlices();
  exec(
      "INSERT INTO recordSessions (streamID,settingsID,start_time,end_time,dataAvailable,storage) "
      "VALUES (3,1,0,0,'2','" +
      dayDirectory() + "')");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("half-born-session 2"));
}

TEST_F(CheckRunTest, ADatabaseThatIsGone) {
  recordSlices();
  factory_->destroy(db());
  MariaDbServer::instance().dropDatabases();
  EXPECT_THAT(findings(), ElementsAre("no-database", "files-without-rows 1"));
}

TEST_F(CheckRunTest, SettingsAndDirectoriesThatAreWrong) {
  recordSlices();
  exec("UPDATE recordSessions SET storage='" + dir_.path() + "/2001/01/01/'");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("wrong-directory 1"));
  exec("UPDATE recordSessions SET storage='" + dayDirectory() + "'");
  exec("DELETE FROM streamSettings");
  EXPECT_THAT(findings(CheckLevel::Files), ElementsAre("no-settings 1"));
}

TEST_F(CheckRunTest, StopsWhenItIsAskedTo) {
  recordSlices();
  CheckRun::Options run = options(CheckLevel::Full);
  run.stop = [] { return true; };
  EXPECT_TRUE(CheckRun(db(), run).run().stopped);
}

#include "host/repair/RepairRun.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>

#include "host/HostError.h"
#include "host/record/SessionSidecar.h"
#include "tests/host_recording/RepairFixture.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/FaultCalls.h"
#include "tests/support/ShellCalls.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RepairRunTest : public RepairFixture {
 protected:
  /** Id, stream, start, end and flag of every session. */
  [[nodiscard]] std::vector<std::string> sessions() {
    return rows(
        "SELECT id,streamID,start_time,end_time,dataAvailable,storage,streamType "
        "FROM recordSessions ORDER BY id");
  }
  /** Two sessions of several slices, the first with the time of its last frame. */
  void recordTwo() {
    recordSlices();
    pass(3000);
    beginSlices();
    record(6, 10, 400);
    end();
  }
  /** Fills all slices of a session with zeros. */
  void clear(unsigned int session) {
    for (const std::string& path : slices(session)) {
      write(path, std::string(fs::file_size(path), '\0'));
    }
  }
  void writeSidecar(unsigned int session) {
    const SessionSidecar sidecar{STREAM, STREAM_VIDEO, 25, "clip", "25,0,h264,640x360,", {}};
    ASSERT_TRUE(sidecar.write(prefix(session) + "session.json"));
  }
  /** Session 1 is of another day than session 2. */
  void recordTwoDays() {
    recordSlices();
    pass(86'400'000);
    beginSlices();
    record(6, 10, 400);
    end();
  }
  /** Deletes the oldest day, and kills this process in front of its directory. */
  void deleteDayAndDie() {
    const ShellCalls shell;
    FaultCalls faults;
    faults.fail("system", "rm", FaultCalls::KILL);
    (void)db()->deleteOlderDay();
  }
  /** Says that a session is a window that nothing has confirmed. */
  void listWindow(unsigned int session) {
    exec("CREATE TABLE eventWindows (id INT UNSIGNED NOT NULL PRIMARY KEY)");
    exec("INSERT INTO eventWindows VALUES (" + std::to_string(session) + ")");
  }
  /** Copies the slices of session 2 into another directory, which it names. */
  [[nodiscard]] std::string copySecond() {
    std::string other = dir_.path() + "/2023/11/01/";
    fs::create_directories(other);
    for (const std::string& path : slices(2)) {
      fs::copy_file(path, other + fs::path(path).filename().string());
    }
    return other;
  }
  /** Repairs without looking at what comes of it. */
  RepairRun::Result tryToRepair() {
    RepairRun run({options(CheckLevel::Full), stream_, true});
    (void)run.survey(db());
    return run.mend(*db());
  }
  [[nodiscard]] Removals removals() {
    RepairRun run({options(CheckLevel::Full), stream_});
    (void)run.survey(factory_->dbIsLoaded("cam"));
    return run.removals();
  }
  void setLastTimes() {
    for (unsigned int id = 1; id <= 2; ++id) {
      long last = 0;
      for (const Recorded& frame : recorded_) {
        if (frame.session == id) last = static_cast<long>(frame.timeMs / 1000);
      }
      exec("UPDATE recordSessions SET end_time=" + std::to_string(last) +
           " WHERE id=" + std::to_string(id));
    }
  }
};

}  // namespace

TEST_F(RepairRunTest, LeavesASoundRecordingAlone) {
  recordTwo();
  const auto tablesBefore = tables();
  const auto filesBefore = files();
  repair();
  EXPECT_EQ(tablesBefore, tables());
  EXPECT_EQ(filesBefore, files());
}

TEST_F(RepairRunTest, MakesRowsThatAreMissing) {
  recordTwo();
  stream_ = STREAM;
  for (const char* damage :
       {"DELETE FROM dataStreams WHERE _id=1", "DELETE FROM dataStreams WHERE _time%3=0",
        "DELETE FROM recordSessions WHERE id=2", "DELETE FROM recordSessions",
        "DROP TABLE dataStreams", "DELETE FROM streamSettings"}) {
    SCOPED_TRACE(damage);
    exec(damage);
    EXPECT_FALSE(findings().empty());
    expectNothingLost();
  }
}

TEST_F(RepairRunTest, MakesTheWholeDatabaseAnew) {
  recordTwo();
  setLastTimes();
  for (unsigned int id = 1; id <= 2; ++id) writeSidecar(id);
  const auto before = sessions();
  dropDatabase();
  expectNothingLost();
  EXPECT_EQ(before, sessions());
  EXPECT_THAT(rows("SELECT name,settings FROM streamSettings"),
              ElementsAre("clip,25,0,h264,640x360,"));
  beginSlices();
  record(3, 5, 400);
  end();
  EXPECT_EQ("3", value("SELECT MAX(id) FROM recordSessions"));
}

TEST_F(RepairRunTest, FindsStreamNumbersWithoutSidecarFiles) {
  recordTwo();
  setLastTimes();
  dropDatabase();
  repair();
  EXPECT_THAT(rows("SELECT id,streamID FROM recordSessions"), ElementsAre("1,1", "2,1"));
  dropDatabase();
  stream_ = STREAM;
  expectNothingLost();
}

TEST_F(RepairRunTest, KnowsTheDayOfSessionsAroundMidnight) {
  pass((86400 - START % 86400) * 1000 - 5000);
  begin();
  record(30, 4, 250);
  end();
  const auto before = rows("SELECT id,start_time FROM recordSessions");
  ASSERT_EQ(2U, before.size());
  dropDatabase();
  stream_ = STREAM;
  repair();
  EXPECT_EQ(before, rows("SELECT id,start_time FROM recordSessions"));
}

TEST_F(RepairRunTest, ASessionThatHasLostItsOldestSlices) {
  recordSlices();
  (void)db()->deleteOlderSlicesOfRecorderSession(1);
  db()->recordSessionTable()->updateDataBase(true);
  const auto before = played();
  const long start = std::stol(value("SELECT start_time FROM recordSessions"));
  dropDatabase();
  stream_ = STREAM;
  repair();
  EXPECT_LE(std::labs(start - std::stol(value("SELECT start_time FROM recordSessions"))), 5);
  EXPECT_EQ(before, played());
}

TEST_F(RepairRunTest, CorrectsWrongRows) {
  recordTwo();
  for (const char* damage :
       {"_offset=_offset+1 WHERE _fileIndex=1", "_offset=0", "_offset=4000000000 WHERE _time%2=0",
        "_time=_time+7", "_time=_time-86400 WHERE _fileIndex=1", "_fileIndex=_fileIndex+1",
        "_fileIndex=77 WHERE _fileIndex=1"}) {
    SCOPED_TRACE(damage);
    exec(std::string("UPDATE dataStreams SET ") + damage);
    EXPECT_FALSE(findings().empty());
    expectNothingLost();
  }
}

TEST_F(RepairRunTest, CorrectsSessionRows) {
  recordTwo();
  for (const char* damage :
       {"start_time=0,end_time=0", "end_time=0", "start_time=start_time-3", "end_time=end_time-9",
        "end_time=end_time+900", "dataAvailable=2", "dataAvailable=0", "settingsID=77",
        "storage='/nowhere/2001/01/01/'", "start_time=start_time+86400"}) {
    SCOPED_TRACE(damage);
    exec(std::string("UPDATE recordSessions SET ") + damage + " WHERE id=1");
    EXPECT_FALSE(findings().empty());
    expectNothingLost();
  }
}

TEST_F(RepairRunTest, CutsATornTailAtEveryLength) {
  recordSlices();
  const std::string last = slices().back();
  const std::string whole = read(last);
  const std::vector<uint64_t> borders = bordersOf(last);
  const std::vector<std::string> all = records();
  for (uint64_t size = borders[borders.size() - 3] + 1; size < borders.back(); ++size) {
    SCOPED_TRACE(size);
    write(last, whole);
    cut(last, size);
    const size_t lost = size < borders[borders.size() - 2] ? 2 : 1;
    repair();
    EXPECT_EQ(std::vector<std::string>(all.begin(), all.end() - static_cast<long>(lost)),
              records());
    EXPECT_EQ(all.size() - lost, played().size());
  }
}

TEST_F(RepairRunTest, MovesGarbageAside) {
  recordTwo();
  const std::vector<std::string> all = records();
  const std::vector<uint64_t> borders = bordersOf(slice(1));
  std::string bytes = read(slice(1));
  bytes.insert(borders[7], "garbage two");
  bytes.insert(borders[3], "garbage one, ");
  write(slice(1), bytes + std::string(100, '\0'));
  expectNothingLost();
  EXPECT_EQ(all, records());
  EXPECT_EQ("garbage one, garbage two", read(prefix(1) + "F1.damaged"));
  write(slice(1), "more" + read(slice(1)));
  expectNothingLost();
  EXPECT_EQ("more", read(prefix(1) + "F1.damaged.2"));
}

TEST_F(RepairRunTest, GoesOnBehindASliceThatIsMissing) {
  recordSlices();
  const std::vector<std::string> all = records();
  const size_t lost = bordersOf(slice(1)).size() - 1;
  fs::remove(slice(1));
  repair();
  EXPECT_EQ(all.size() - lost, records().size());
  EXPECT_EQ(all.size() - lost, played().size());
  EXPECT_EQ("", read(slice(1)));
}

TEST_F(RepairRunTest, RemovesRowsOfWhatIsGone) {
  recordTwo();
  for (const std::string& path : slices(1)) fs::remove(path);
  exec("INSERT INTO dataStreams VALUES (99,0,1,0,0)");
  exec(
      "INSERT INTO recordSessions (streamID,settingsID,start_time,end_time,dataAvailable,storage) "
      "VALUES (4,1,0,0,'2','" +
      dayDirectory() + "')");
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("2"));
  EXPECT_THAT(rows("SELECT DISTINCT _id FROM dataStreams"), ElementsAre("2"));
}

TEST_F(RepairRunTest, ASliceOfNothingButGarbage) {
  begin();
  record(2, 3, 500);
  end();
  write(slice(0), "nothing but garbage");
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), IsEmpty());
  EXPECT_EQ("nothing but garbage", read(prefix(1) + "F0.damaged"));
  EXPECT_FALSE(fs::exists(slice(0)));
}

TEST_F(RepairRunTest, BringsBackADayWhoseDeletionWasKilledBeforeItsFilesWent) {
  stream_ = STREAM;
  recordTwoDays();
  const auto before = played();
  EXPECT_EXIT(deleteDayAndDie(), testing::KilledBySignal(SIGKILL), "");
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("2"));
  EXPECT_THAT(findings(), ElementsAre("files-without-rows 1"));
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2"));
  EXPECT_EQ(before, played());
  EXPECT_NE("0", value("SELECT COUNT(*) FROM dataStreams WHERE _id=1"));
}

TEST_F(RepairRunTest, NoDayComesBackWhoseFilesAreGone) {
  stream_ = STREAM;
  recordTwoDays();
  ClientCalls calls;
  calls.failNextStatements("DELETE FROM  dataStreams", {1105});
  EXPECT_TRUE(db()->deleteOlderDay());
  EXPECT_THAT(slices(1), IsEmpty());
  EXPECT_THAT(findings(), ElementsAre("index-without-session 1"));
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("2"));
  EXPECT_THAT(rows("SELECT DISTINCT _id FROM dataStreams"), ElementsAre("2"));
}

TEST_F(RepairRunTest, RemovesWhatWasThrownAway) {
  recordTwo();
  listWindow(1);
  exec("DELETE FROM recordSessions WHERE id=1");
  EXPECT_EQ(slices(1).size(), removals().files);
  repair();
  EXPECT_THAT(slices(1), IsEmpty());
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("2"));
  EXPECT_THAT(rows("SELECT DISTINCT _id FROM dataStreams"), ElementsAre("2"));
  EXPECT_THAT(rows("SELECT id FROM eventWindows"), IsEmpty());
}

TEST_F(RepairRunTest, KeepsAWindowWhoseRowIsThere) {
  recordTwo();
  listWindow(1);
  exec("UPDATE recordSessions SET dataAvailable=2 WHERE id=1");
  expectNothingLost();
  EXPECT_THAT(rows("SELECT id FROM eventWindows"), IsEmpty());
}

TEST_F(RepairRunTest, AWindowIsFootageWhenTheDatabaseIsLost) {
  recordTwo();
  stream_ = STREAM;
  listWindow(1);
  dropDatabase();
  expectNothingLost();
}

TEST_F(RepairRunTest, KeepsBothOfTwoSessionsOfOneIdThatIsAWindows) {
  recordTwo();
  stream_ = STREAM;
  const std::string other = copySecond();
  listWindow(2);
  exec("DELETE FROM recordSessions WHERE id=2");
  repair();
  EXPECT_FALSE(slices(2).empty());
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "3"));
}

TEST_F(RepairRunTest, MakesRowsOfSessionsThatBeginInOneSecond) {
  stream_ = STREAM;
  recordTwo();
  for (const std::string& path : slices(1)) {
    fs::copy_file(path, prefix(3) + path.substr(prefix(1).size()));
  }
  dropDatabase();
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "3"));
  EXPECT_EQ("1", value("SELECT b.start_time-a.start_time FROM recordSessions a,recordSessions b "
                       "WHERE a.id=1 AND b.id=3"));
  const auto before = tables();
  repair();
  EXPECT_EQ(before, tables());
}

TEST_F(RepairRunTest, KeepsWhatWasNeverConfirmed) {
  recordSlices();
  exec("UPDATE recordSessions SET dataAvailable=2");
  std::vector<std::string> all = records();
  repair();
  EXPECT_EQ("1", value("SELECT dataAvailable FROM recordSessions"));
  EXPECT_EQ(all, records());
}

TEST_F(RepairRunTest, SeparatesTwoSessionsOfOneId) {
  recordTwo();
  const std::string other = copySecond();
  EXPECT_THAT(findings(), ElementsAre("two-sessions-one-id 2"));
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "3"));
  EXPECT_EQ(other, value("SELECT storage FROM recordSessions WHERE id=3"));
  expectEverySecondPlays();
}

TEST_F(RepairRunTest, FinishesAMoveThatWasCutOff) {
  recordTwo();
  const std::string other = copySecond();
  const std::string name = "record_ktr_cam_R2_F0.dat";
  fs::create_hard_link(other + name, other + "record_ktr_cam_R9_F0.dat");
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "9"));
  EXPECT_FALSE(fs::exists(other + name));
}

TEST_F(RepairRunTest, AMoveTakesNoNameThatAnotherFileBears) {
  recordTwo();
  const std::string other = copySecond();
  const std::string name = other + "record_ktr_cam_R";
  fs::create_hard_link(name + "2_F0.dat", name + "9_F0.dat");
  write(name + "9_F1.dat", "another file");
  EXPECT_THROW((void)tryToRepair(), HostError);
  EXPECT_EQ(read(slicePath(2, 1)), read(name + "2_F1.dat"));
  EXPECT_EQ("another file", read(name + "9_F1.dat"));
}

TEST_F(RepairRunTest, AMoveRemovesNoNameBeforeTheNewOnesAreOnTheDisk) {
  recordTwo();
  const std::string other = copySecond();
  FaultCalls faults;
  faults.fail("fsync", "/2023/11/01", EIO, {1, FaultCalls::ALWAYS});
  EXPECT_THROW((void)tryToRepair(), HostError);
  for (const std::string& path : slices(2)) {
    EXPECT_EQ(read(path), read(other + fs::path(path).filename().string()));
  }
  faults.restore();
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "3"));
}

TEST_F(RepairRunTest, RowsAreWrittenAgainWhenTheConnectionIsLostMeanwhile) {
  recordTwo();
  for (const char* statement :
       {"DELETE FROM dataStreams", "INSERT IGNORE", "UPDATE recordSessions", "COMMIT"}) {
    SCOPED_TRACE(statement);
    exec("UPDATE dataStreams SET _offset=_offset+1 WHERE _id=1");
    exec("UPDATE recordSessions SET end_time=end_time+900 WHERE id=1");
    ClientCalls calls;
    calls.failNextStatements(statement, {2013});
    expectNothingLost();
  }
  stream_ = STREAM;
  exec("DELETE FROM recordSessions WHERE id=1");
  ClientCalls calls;
  calls.failNextStatements("REPLACE INTO recordSessions", {2013});
  expectNothingLost();
}

TEST_F(RepairRunTest, LeavesWhatCannotBeReadAlone) {
  recordTwo();
  write(slice(0), "garbage" + read(slice(0)));
  const auto rowsBefore = tables();
  const auto filesBefore = files();
  FaultCalls faults;
  faults.fail("pread", "_R1_F1.dat", EIO, {1, FaultCalls::ALWAYS});
  const RepairRun::Result result = tryToRepair();
  EXPECT_THAT(result.problems,
              ElementsAre(testing::StartsWith("session 1 has slices that cannot be read: ")));
  faults.restore();
  EXPECT_EQ(rowsBefore, tables());
  EXPECT_EQ(filesBefore, files());
  expectNothingLost();
}

TEST_F(RepairRunTest, ADiskThatRefusesCostsNeitherFilesNorRows) {
  recordTwo();
  write(slice(1), "garbage" + read(slice(1)));
  append(slices().back(), std::string("\xA7\xA6\xA5\xA4\xFF\xFF", 6));
  exec("DELETE FROM dataStreams WHERE _id=1 AND _time%3=0");
  const auto rowsBefore = tables();
  std::map<std::string, std::string> before;
  for (const std::string& path : slices()) before[path] = read(path);
  struct Failure {
    const char* call;
    const char* path;
    int error;
  };
  for (const Failure& each :
       {Failure{"open", ".damaged", ENOSPC}, Failure{"write", ".damaged", ENOSPC},
        Failure{"fsync", ".damaged", EIO}, Failure{"open", ".unfinished", ENOSPC},
        Failure{"write", ".unfinished", ENOSPC}, Failure{"fsync", ".unfinished", EIO},
        Failure{"rename", "_F1.dat", EIO}}) {
    SCOPED_TRACE(std::string(each.call) + " " + each.path);
    FaultCalls faults;
    faults.fail(each.call, each.path, each.error, {1, FaultCalls::ALWAYS});
    const RepairRun::Result result = tryToRepair();
    EXPECT_EQ(1U, result.problems.size());
    EXPECT_EQ(rowsBefore, tables());
    for (const auto& [path, bytes] : before) EXPECT_EQ(bytes, read(path)) << path;
  }
  expectNothingLost();
}

TEST_F(RepairRunTest, AMendedSliceHasTheRightsOfTheOldOne) {
  recordTwo();
  write(slice(1), "garbage" + read(slice(1)));
  fs::permissions(slice(1), fs::perms(0600));
  repair();
  EXPECT_EQ(fs::perms(0600), fs::status(slice(1)).permissions());
}

TEST_F(RepairRunTest, MendsTheSecondOfTwoSessionsOfOneId) {
  recordTwo();
  const std::string other = copySecond();
  const std::string last = other + fs::path(slices(2).back()).filename().string();
  append(last, std::string("\xA7\xA6\xA5\xA4\xFF\xFF", 6));
  write(other + "record_ktr_cam_R2_F0.dat", "garbage" + read(slicePath(2, 0)));
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2", "3"));
  EXPECT_EQ("garbage", read(other + "record_ktr_cam_R3_F0.damaged"));
  EXPECT_EQ(read(slicePath(2, 0)), read(other + "record_ktr_cam_R3_F0.dat"));
  expectEverySecondPlays();
}

TEST_F(RepairRunTest, MovesASecondSessionOfNothingButGarbageAside) {
  recordTwo();
  const std::string other = dir_.path() + "/2023/11/01/";
  fs::create_directories(other);
  write(other + "record_ktr_cam_R2_F0.dat", "nothing but garbage");
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), ElementsAre("1", "2"));
  EXPECT_EQ("nothing but garbage", read(other + "record_ktr_cam_R3_F0.damaged"));
  expectEverySecondPlays();
}

TEST_F(RepairRunTest, RefusesToRemoveSecondSessionsWhenTheyAreMostOfAll) {
  begin();
  record(2, 3, 500);
  end();
  for (const std::string day : {"01", "02"}) {
    const std::string other = dir_.path() + "/2023/11/" + day + "/";
    fs::create_directories(other);
    write(other + "record_ktr_cam_R1_F0.dat", std::string(1000, '\0'));
  }
  RepairRun run({options(CheckLevel::Full), stream_});
  (void)run.survey(db());
  EXPECT_FALSE(run.refusal());
  const size_t before = files().size();
  EXPECT_THROW(run.mend(*db()), HostError);
  EXPECT_TRUE(run.refusal());
  EXPECT_EQ(before, files().size());
  EXPECT_EQ("1", value("SELECT COUNT(*) FROM recordSessions"));
}

TEST_F(RepairRunTest, CountsSessionsOfWhichNothingStays) {
  recordTwo();
  writeSidecar(1);
  const std::map<unsigned int, std::string> index = {
      {1, value("SELECT COUNT(*) FROM dataStreams WHERE _id=1")},
      {0, value("SELECT COUNT(*) FROM dataStreams")}};
  const size_t all = files().size();
  const size_t own = slices(1).size();
  const auto text = [&](size_t gone) {
    return "1 of 2 sessions, " + index.at(1) + " of " + index.at(0) + " index rows, " +
           std::to_string(gone) + " of " + std::to_string(all) + " files";
  };
  clear(1);
  EXPECT_EQ(text(own + 1), removals().text());
  for (const std::string& path : slices(1)) write(path, "\xA7\xA6\xA5\xA4\xFF");
  EXPECT_EQ(text(own + 1), removals().text());
  write(slice(0), "no record");
  EXPECT_EQ(text(own), removals().text()) << "the sidecar file stays beside the garbage";
  for (const std::string& path : slices(1)) cut(path, 0);
  EXPECT_EQ(text(own + 1), removals().text());
  exec("UPDATE recordSessions SET start_time=0,end_time=0 WHERE id=1");
  EXPECT_EQ(text(own + 1), removals().text());
}

TEST_F(RepairRunTest, CountsSlicesOfWhichNothingStays) {
  recordSlices();
  for (const unsigned int number : {0U, 1U}) write(slice(number), std::string(100, '\0'));
  EXPECT_EQ(0U, removals().sessions);
  EXPECT_EQ(2U, removals().files);
}

TEST_F(RepairRunTest, RefusesToRemoveAllFilesWhenTheDatabaseIsGoneToo) {
  recordTwo();
  dropDatabase();
  for (const unsigned int session : {1U, 2U}) clear(session);
  const auto before = files();
  RepairRun run({options(CheckLevel::Full), stream_});
  (void)run.survey(nullptr);
  ASSERT_TRUE(run.refusal());
  EXPECT_THAT(run.refusal()->what(), testing::HasSubstr("2 of 2 sessions, 0 of 0 index rows, "));
  EXPECT_THROW(run.mend(*db()), HostError);
  EXPECT_EQ(before, files());
}

TEST_F(RepairRunTest, KeepsWhatTellsHowToReadADamagedFile) {
  begin();
  record(2, 3, 500);
  end();
  writeSidecar(1);
  write(prefix(1) + "audioHeader.dat", "header");
  write(slice(0), "nothing but garbage");
  repair();
  EXPECT_THAT(rows("SELECT id FROM recordSessions"), IsEmpty());
  EXPECT_TRUE(fs::exists(prefix(1) + "session.json"));
  EXPECT_TRUE(fs::exists(prefix(1) + "audioHeader.dat"));
  fs::remove(prefix(1) + "F0.damaged");
  EXPECT_THAT(findings(), ElementsAre("leftover 1"));
}

TEST_F(RepairRunTest, CountsWhatItWouldRemove) {
  recordTwo();
  for (const std::string& path : slices(1)) fs::remove(path);
  RepairRun run({options(CheckLevel::Full), stream_});
  (void)run.survey(db());
  EXPECT_EQ(1U, run.removals().sessions);
  EXPECT_EQ(2U, run.removals().allSessions);
  EXPECT_TRUE(run.removals().areTooMany());
  EXPECT_THAT(run.removals().text(), testing::StartsWith("1 of 2 sessions, "));
}

TEST_F(RepairRunTest, SurveyingChangesNothing) {
  recordTwo();
  append(slice(1), "noise");
  exec("DELETE FROM recordSessions WHERE id=2");
  exec("DELETE FROM dataStreams WHERE _id=1");
  const auto tablesBefore = tables();
  const auto filesBefore = files();
  RepairRun run({options(CheckLevel::Full), stream_});
  (void)run.survey(db());
  EXPECT_FALSE(run.findings().empty());
  EXPECT_EQ(tablesBefore, tables());
  EXPECT_EQ(filesBefore, files());
}

TEST_F(RepairRunTest, RemovesWhatARepairThatWasCutOffHasLeft) {
  recordTwo();
  write(slice(1) + ".unfinished", "half of a slice");
  EXPECT_THAT(findings(), ElementsAre("leftover 1"));
  expectNothingLost();
  EXPECT_FALSE(fs::exists(slice(1) + ".unfinished"));
}

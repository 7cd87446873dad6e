#include "recording/KTRAudioStreamRecordSession.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "runtime/KTRFrameWriter.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/FileText.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TableBlock.h"

namespace {

namespace fs = std::filesystem;

using Format = KTRFrameFormat;

constexpr const char* HEADER = "codec header";
constexpr const char* UNKNOWN = "[ KTRAUDIOStreamRecordSession::run() ] : UNKNOWN";

class KTRAudioStreamRecordSessionTest : public RecorderFixture {
 protected:
  KTRAudioStreamRecordSessionTest() : RecorderFixture(STREAM_AUDIO) {}

  [[nodiscard]] KTRAudioStreamRecordSession& session() {
    return dynamic_cast<KTRAudioStreamRecordSession&>(*session_);
  }
  void header() {
    const KTDataBlock bytes = KTString(HEADER).dataBlock();
    send(KTRMessageType::FrameData,
         KTRFrameWriter::build(Format::Audio, stampNow(), {{bytes.data, bytes.size}}));
    settle();
  }
  void beginWithHeader(const KTRStreamRecordParams& params) {
    begin(params);
    header();
  }
  void beginWithHeader() { beginWithHeader(params()); }
  void beginByEventsWithHeader(int preEventFrames) {
    beginByEvents(preEventFrames);
    header();
  }
  [[nodiscard]] std::string headerPath(unsigned int session) const {
    return prefix(session) + "audioHeader.dat";
  }
  // One value of the session row, as it stands when all changes are written.
  [[nodiscard]] std::string ofSession(const std::string& columns, unsigned int id = 1) {
    db()->recordSessionTable()->updateDataBase(true);
    return value("SELECT " + columns + " FROM recordSessions WHERE id=" + std::to_string(id));
  }
  [[nodiscard]] static std::string recordEnd(unsigned int records) {
    return std::to_string(records * (makeFrame(Format::Audio, 0).size + 8));
  }
};

TEST_F(KTRAudioStreamRecordSessionTest, FirstFrameBecomesTheHeaderFileAndIsStoredNowhereElse) {
  beginWithHeader();
  EXPECT_EQ(contents(headerPath(1)), HEADER);
  EXPECT_EQ(session_->progress().frames, 0U);
  EXPECT_EQ(indexRows(), 0U);
  stop();
  EXPECT_EQ(fs::file_size(slicePath(1, 0)), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, DatabaseIsCreatedBeforeTheFirstFrame) {
  begin();
  EXPECT_NE(factory_->db_instance("cam"), nullptr);
}

TEST_F(KTRAudioStreamRecordSessionTest, FirstFrameOpensASession) {
  beginWithHeader();
  EXPECT_TRUE(log_.has(16, "Starting KTRAudioStreamRecordSession..."));
  EXPECT_TRUE(log_.has(16, "[x] Start Audio SessionID:1 for StreamID:3"));
  EXPECT_TRUE(log_.has(16, "Start Audio SessionID:1 StreamID:3"));
  EXPECT_EQ(session_->progress().sessionId, 1U);
  EXPECT_EQ(value("SELECT name,settings,streamType FROM streamSettings"), "clip,128,aac,48000,1");
}

TEST_F(KTRAudioStreamRecordSessionTest, SessionRowIsBornWithTheServersClockInBothTimes) {
  const ClientCalls calls;
  begin();
  session_->setServerTime(START - 500, START);
  header();
  const std::string time = std::to_string(START);
  EXPECT_THAT(
      calls.statements(),
      testing::Contains("INSERT INTO recordSessions  ( streamID, settingsID, start_time,"
                        "end_time,update_time, dataAvailable,storage,streamType,realFps) "
                        "VALUES ( 3,1," +
                        time + "," + time + "," + time + ",2,'" + dayDirectory() + "',1,15 ) "));
}

TEST_F(KTRAudioStreamRecordSessionTest, SessionStartsAtTheTimeOfItsFirstFrame) {
  begin();
  frame(Format::Audio, stampNow() - 7000);
  EXPECT_EQ(ofSession("start_time,dataAvailable"), std::to_string(START - 7) + ",1");
}

TEST_F(KTRAudioStreamRecordSessionTest, StoredFrameAddsOneRowAndMovesTheEnd) {
  beginWithHeader();
  audioEvery(1, 1);
  EXPECT_EQ(value("SELECT _id,_offset,_time,_fileIndex,_delayUsec FROM dataStreams"),
            "1,0," + std::to_string(START + 1) + ",0,100000");
  EXPECT_EQ(ofSession("end_time"), std::to_string(START + 1));
  audioEvery(2, 1);
  EXPECT_EQ(rows("SELECT _offset,_time FROM dataStreams ORDER BY _time").back(),
            recordEnd(1) + "," + std::to_string(START + 3));
  EXPECT_EQ(ofSession("end_time,realFps"), std::to_string(START + 3) + ",15");
}

TEST_F(KTRAudioStreamRecordSessionTest, RowsOfOneSecondCollapseToTheFirst) {
  beginWithHeader();
  const ClientCalls calls;
  for (int i = 0; i < 3; ++i) audio();
  const std::vector<std::string> all = calls.statements();
  EXPECT_EQ(std::count_if(all.begin(), all.end(),
                          [](const std::string& each) {
                            return each.rfind("INSERT INTO dataStreams", 0) == 0;
                          }),
            3);
  EXPECT_EQ(value("SELECT _offset,_time FROM dataStreams"), "0," + std::to_string(START));
  EXPECT_EQ(session_->progress().frames, 3U);
}

TEST_F(KTRAudioStreamRecordSessionTest, FramesReachTheDiskAsTheyWereCommitted) {
  beginWithHeader();
  const unsigned int stamp = stampNow();
  audio();
  stop();
  KTRFile reader(KTString(prefix(1)), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  KTDataBlock stored;
  ASSERT_GT(reader.readKTRData(stored), 0);
  EXPECT_EQ(stored, makeFrame(Format::Audio, stamp));
  EXPECT_LT(reader.readKTRData(stored), 0);
}

TEST_F(KTRAudioStreamRecordSessionTest, SeveralFramesInOneMessageAreAllTaken) {
  begin();
  KTDataBlock message = makeFrame(Format::Audio, stampNow());
  message += makeFrame(Format::Audio, stampNow() + 20);
  message += makeFrame(Format::Audio, stampNow() + 40);
  EXPECT_FALSE(session_->dataArrived());
  send(KTRMessageType::FrameData, message);
  settle();
  EXPECT_EQ(session_->progress().frames, 2U);
  EXPECT_TRUE(session_->dataArrived());
}

TEST_F(KTRAudioStreamRecordSessionTest, FramesWithoutContentAreNeitherHeaderNorStored) {
  begin();
  frame(Format::Empty);
  EXPECT_EQ(session_->progress().sessionId, 0U);
  header();
  frame(Format::Empty);
  EXPECT_EQ(contents(headerPath(1)), HEADER);
  EXPECT_EQ(session_->progress().frames, 0U);
  EXPECT_FALSE(ended());
}

TEST_F(KTRAudioStreamRecordSessionTest, HeaderShorterThanAFrameHeadIsNotWritten) {
  beginWithHeader();
  fs::remove(headerPath(1));
  EXPECT_FALSE(session().saveHeader(KTDataBlock(8)));
  EXPECT_FALSE(fs::exists(headerPath(1)));
  EXPECT_TRUE(session().saveHeader(KTDataBlock(9)));
  EXPECT_EQ(contents(headerPath(1)), "");
}

TEST_F(KTRAudioStreamRecordSessionTest, HeaderFileIsCutToItsNewLength) {
  fs::create_directories(dayDirectory());
  std::ofstream(headerPath(1)) << "a header that is longer than the new one";
  beginWithHeader();
  EXPECT_EQ(contents(headerPath(1)), HEADER);
}

TEST_F(KTRAudioStreamRecordSessionTest, HeaderFileIsForAllToReadAndTheOwnerToWrite) {
  const mode_t former = umask(022);
  beginWithHeader();
  umask(former);
  EXPECT_EQ(fs::status(headerPath(1)).permissions(), fs::perms(0644));
}

TEST_F(KTRAudioStreamRecordSessionTest, FirstHeaderThatCannotBeWrittenEndsTheSession) {
  fs::create_directories(headerPath(1));
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant write header file " + dayDirectory() +
                                "/record_ktr_cam_R1_audioHeader.dat !!"));
}

TEST_F(KTRAudioStreamRecordSessionTest, FrameClockThatRunsBackwardsStartsANewSessionAfterTheFrame) {
  beginWithHeader();
  audioEvery(10, 1);
  frame(Format::Audio, stampNow() - 5000);
  EXPECT_EQ(session_->progress().sessionId, 1U);
  audio();
  EXPECT_EQ(session_->progress().sessionId, 2U);
  EXPECT_EQ(
      rows("SELECT _id,_time FROM dataStreams ORDER BY _id,_time"),
      (std::vector<std::string>{"1," + std::to_string(START + 5), "1," + std::to_string(START + 10),
                                "2," + std::to_string(START + 10)}));
  EXPECT_EQ(ofSession("start_time", 2), std::to_string(START + 10));
}

TEST_F(KTRAudioStreamRecordSessionTest, NewSessionGetsTheHeaderAgain) {
  beginWithHeader();
  audioEvery(10, 1);
  frame(Format::Audio, stampNow() - 5000);
  audio();
  EXPECT_EQ(contents(headerPath(2)), HEADER);
  EXPECT_EQ(session_->progress().frames, 3U);
}

TEST_F(KTRAudioStreamRecordSessionTest, NewSessionGoesOnWhenTheHeaderCannotBeWrittenAgain) {
  beginWithHeader();
  audioEvery(10, 1);
  fs::create_directories(headerPath(2));
  frame(Format::Audio, stampNow() - 5000);
  audio();
  EXPECT_FALSE(ended());
  EXPECT_EQ(log_.countContaining("[AUDIO] Cant write header file"), 1U);
  EXPECT_EQ(session_->progress().frames, 3U);
}

TEST_F(KTRAudioStreamRecordSessionTest, OtherSessionKindsGoOnWhenTheFrameClockRunsBackwards) {
  KTRStreamRecordParams other = params();
  other.sessionKind = 11;
  beginWithHeader(other);
  audioEvery(10, 1);
  frame(Format::Audio, stampNow() - 5000);
  audio();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "1");
}

TEST_F(KTRAudioStreamRecordSessionTest, SecondSessionOfOneSecondIsRefused) {
  beginWithHeader();
  audio();
  frame(Format::Audio, stampNow() - 5000);
  audio();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant add RecorderSessionRow in DB error !!..."));
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "1");
}

TEST_F(KTRAudioStreamRecordSessionTest, RefusedInsertDoesNotTakeUpTheFormerSessionAgain) {
  // With the index table there already, the last insert that the connection knows of is session 1.
  ASSERT_NE(db()->createDataStreamTable(99), nullptr);
  beginWithHeader();
  send(KTRMessageType::ByEvents);
  audio();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant add RecorderSessionRow in DB error !!..."));
}

TEST_F(KTRAudioStreamRecordSessionTest, FifteenSecondsOfSilenceEndTheSession) {
  beginWithHeader();
  clock_.advanceSeconds(14);
  settle();
  EXPECT_FALSE(ended());
  clock_.advanceSeconds(1);
  session_->wait();
  EXPECT_TRUE(log_.has(64, "NO AUDIO PACKET -> CLOSING Session #3  "));
  EXPECT_EQ(send(KTRMessageType::FrameData), -1);
}

TEST_F(KTRAudioStreamRecordSessionTest, NeitherKeyFramesNorTimelinessAreSupervised) {
  beginWithHeader();
  audioEvery(10, 20);
  frame(Format::Audio, stampNow() + 3601 * 1000);
  clock_.advanceSeconds(10);
  frame(Format::Audio, stampNow() - 301 * 1000);
  EXPECT_FALSE(ended());
  EXPECT_EQ(session_->progress().frames, 22U);
}

TEST_F(KTRAudioStreamRecordSessionTest, UnknownMessagesAreReportedAndTheIgnoredKindIsNot) {
  begin();
  send(KTRMessageType::Ignored);
  settle();
  EXPECT_EQ(log_.countContaining("UNKNOWN"), 0U);
  send(KTRMessageType::Time, KTDataBlock(8));
  send(0x200);
  settle();
  EXPECT_EQ(log_.count(64, UNKNOWN), 2U);
  EXPECT_FALSE(ended());
}

TEST_F(KTRAudioStreamRecordSessionTest, ThreadIsMadeKnownToTheClientLibraryForAsLongAsItRuns) {
  const ClientCalls calls;
  begin();
  EXPECT_EQ(calls.threadInits(), 1U);
  EXPECT_EQ(calls.threadEnds(), 0U);
  stop();
  EXPECT_EQ(calls.threadEnds(), 1U);
}

TEST_F(KTRAudioStreamRecordSessionTest, StopBitGoesBeforeAllOthers) {
  beginWithHeader();
  send(KTRMessageType::Stop | KTRMessageType::FrameData, makeFrame(Format::Audio, stampNow()));
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, FrameBitGoesBeforeTheModes) {
  beginWithHeader();
  send(KTRMessageType::FrameData | KTRMessageType::ByEvents | KTRMessageType::Ignored,
       makeFrame(Format::Audio, stampNow()));
  audioEvery(1, 1);
  EXPECT_EQ(session_->progress().frames, 2U);
  EXPECT_EQ(session_->progress().sessionId, 1U);
}

TEST_F(KTRAudioStreamRecordSessionTest, SwitchGoesBeforeTheConfirmation) {
  beginWithHeader();
  send(KTRMessageType::ByEvents | KTRMessageType::EventConfirmed);
  audioEvery(1, 1);
  EXPECT_EQ(session_->progress().sessionId, 2U);
}

TEST_F(KTRAudioStreamRecordSessionTest, SlowTurnsAreNotReported) {
  begin();
  log_.whenLogged(UNKNOWN, [this] { clock_.advanceSeconds(4); });
  send(0x200);
  settle();
  header();
  EXPECT_EQ(log_.countContaining("TOO SLOW"), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, StopStoresWhatWasCommittedBefore) {
  beginWithHeader();
  for (unsigned int i = 0; i < 50; ++i) {
    send(KTRMessageType::FrameData, makeFrame(Format::Audio, stampNow() + i));
  }
  send(KTRMessageType::Stop);
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 50U);
  EXPECT_EQ(session_->queueLength(), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, MessagesBehindTheStopAreDropped) {
  beginWithHeader();
  whileHeldUpBy(UNKNOWN, [&] {
    send(0x200);
    send(KTRMessageType::Stop);
    for (int i = 0; i < 3; ++i) {
      send(KTRMessageType::FrameData, makeFrame(Format::Audio, stampNow()));
    }
  });
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 0U);
  EXPECT_EQ(session_->queueLength(), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, FailedWriteEndsTheSession) {
  beginWithHeader();
  audio();
  {
    const FileSizeLimit full(1);
    audioEvery(11, 1);
  }
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Saving Error! fileindex:0 record:1  offset:" + recordEnd(1)));
}

TEST_F(KTRAudioStreamRecordSessionTest, LostIndexTableEndsTheSession) {
  beginWithHeader();
  db()->destroyVideoStream(1);
  exec("DROP TABLE dataStreams");
  audio();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Saving error !!! fileindex:0 record:1  offset:0"));
}

TEST_F(KTRAudioStreamRecordSessionTest, RefusedIndexRowEndsTheSession) {
  beginWithHeader();
  audio();
  exec("DROP TABLE dataStreams");
  audioEvery(1, 1);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Saving error !!! fileindex:0 record:1  offset:" + recordEnd(1)));
}

TEST_F(KTRAudioStreamRecordSessionTest, SettingsThatCannotBeStoredEndTheSession) {
  ASSERT_NE(db(), nullptr);
  exec("DROP TABLE streamSettings");
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant add audioSettings in DB !!"));
}

TEST_F(KTRAudioStreamRecordSessionTest, SettingsThatAreNotFoundAgainEndTheSession) {
  ASSERT_NE(db(), nullptr);
  exec(
      "INSERT INTO streamSettings (name,settings,streamType) VALUES "
      "('other','128,aac,48000','1')");
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant find audioSettings in DB !!"));
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
}

TEST_F(KTRAudioStreamRecordSessionTest, UnwritableStorageEndsTheSession) {
  KTRStreamRecordParams bad = params();
  bad.storageDir = "/proc/no/such";
  beginWithHeader(bad);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant Create Directory !!"));
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
}

TEST_F(KTRAudioStreamRecordSessionTest, LostSessionTableEndsTheSession) {
  ASSERT_NE(db(), nullptr);
  exec("DROP TABLE recordSessions");
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "[AUDIO] Cant add RecorderSessionRow in DB error !!..."));
}

TEST_F(KTRAudioStreamRecordSessionTest, IndexTableThatCannotBeCreatedEndsTheSession) {
  ASSERT_NE(db(), nullptr);
  const TableBlock block("ktr_cam", "dataStreams");
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant create Audio createDataStreamTabl in DB error !!."));
}

TEST_F(KTRAudioStreamRecordSessionTest, DataFileThatCannotBeOpenedEndsTheSession) {
  fs::create_directories(slicePath(1, 0));
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_EQ(log_.countContaining("[x] Start Audio"), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, StartTimeThatCannotBeSetEndsTheSession) {
  log_.whenLogged("[x] Start Audio SessionID:1 for StreamID:3",
                  [this] { exec("DELETE FROM recordSessions"); });
  beginWithHeader();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant update RecorderSessionRow in DB sessionID=1"));
}

TEST_F(KTRAudioStreamRecordSessionTest, EndTimeThatCannotBeSetEndsTheSession) {
  beginWithHeader();
  evictFirstRow();
  exec("DELETE FROM recordSessions WHERE id=1");
  audio();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant update RecorderSessionRow in DB sessionID=1"));
}

TEST_F(KTRAudioStreamRecordSessionTest, ByEventsKeepsARollingWindowOfSlices) {
  beginByEventsWithHeader(10);
  audioEvery(1, 14);
  EXPECT_TRUE(sliceExists(0));
  audioEvery(1, 1);
  EXPECT_FALSE(sliceExists(0)) << "the third slice of five frames was complete";
  EXPECT_TRUE(sliceExists(1));
  EXPECT_TRUE(sliceExists(3));
}

TEST_F(KTRAudioStreamRecordSessionTest, ByEventsDefaultsKeepOneFullSlice) {
  beginByEventsWithHeader(0);
  audioEvery(1, 9);
  EXPECT_TRUE(sliceExists(0));
  audioEvery(1, 1);
  EXPECT_FALSE(sliceExists(0));
  EXPECT_TRUE(sliceExists(1));
}

TEST_F(KTRAudioStreamRecordSessionTest, UnconfirmedByEventsSessionIsRemovedAtTheEnd) {
  beginByEventsWithHeader(10);
  audioEvery(1, 3);
  stop();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
  EXPECT_EQ(indexRows(), 0U);
  EXPECT_TRUE(
      log_.has(16, "KTRAudioStreamRecordSession::run() remove session 1 because of ByEvents"));
}

TEST_F(KTRAudioStreamRecordSessionTest, ConfirmedEventKeepsTheSession) {
  beginByEventsWithHeader(10);
  audioEvery(1, 1);
  send(KTRMessageType::EventConfirmed);
  settle();
  audioEvery(1, 20);
  EXPECT_TRUE(sliceExists(0)) << "a confirmed session is cut no more";
  stop();
  EXPECT_EQ(dataOf(1), "1");
}

TEST_F(KTRAudioStreamRecordSessionTest, ConfirmationOfAContinuousRecordingChangesNothing) {
  beginWithHeader();
  forgetData(1);
  send(KTRMessageType::EventConfirmed);
  audioEvery(1, 1);
  EXPECT_FALSE(ended());
  EXPECT_EQ(dataOf(1), "0");
}

TEST_F(KTRAudioStreamRecordSessionTest, ConfirmationMarksTheSessionAsHavingData) {
  beginByEventsWithHeader(10);
  forgetData(1);
  send(KTRMessageType::EventConfirmed);
  settle();
  EXPECT_EQ(dataOf(1), "1");
}

TEST_F(KTRAudioStreamRecordSessionTest, NewByEventsSessionCountsFramesAndSlicesAnew) {
  beginByEventsWithHeader(0);
  audioEvery(1, 9);
  send(KTRMessageType::ByEvents);
  audioEvery(1, 4);
  EXPECT_FALSE(fs::exists(slicePath(2, 1)));
  audioEvery(1, 1);
  EXPECT_TRUE(fs::exists(slicePath(2, 1)));
  EXPECT_TRUE(fs::exists(slicePath(2, 0)));
}

TEST_F(KTRAudioStreamRecordSessionTest, SwitchToByEventsStartsANewSessionAtTheNextFrame) {
  beginWithHeader();
  audioEvery(1, 1);
  send(KTRMessageType::ByEvents);
  settle();
  EXPECT_EQ(session_->progress().sessionId, 1U);
  audioEvery(1, 1);
  EXPECT_EQ(session_->progress().sessionId, 2U);
  EXPECT_EQ(contents(headerPath(2)), HEADER);
  stop();
  EXPECT_EQ(rows("SELECT id FROM recordSessions"), (std::vector<std::string>{"1"}));
}

TEST_F(KTRAudioStreamRecordSessionTest, IsNamedAfterItsClass) {
  begin();
  EXPECT_EQ(session_->name(), "KTRAudioStreamRecordSession");
}

TEST_F(KTRAudioStreamRecordSessionTest, DestructionEndsARunningSession) {
  beginWithHeader();
  audio();
  session_.reset();
  EXPECT_GT(fs::file_size(slicePath(1, 0)), 0U);
}

TEST_F(KTRAudioStreamRecordSessionTest, WithoutADatabaseTheSessionEndsAtItsFirstFrame) {
  KTRStreamRecordParams nowhere = params();
  nowhere.dbName = "no such'name";
  begin(nowhere);
  EXPECT_FALSE(ended());
  audio();
  EXPECT_TRUE(ended());
  EXPECT_FALSE(session().saveHeader(KTDataBlock(20)));
}

TEST_F(KTRAudioStreamRecordSessionTest, UnconfirmedEndIsToldEvenWithoutADatabase) {
  KTRStreamRecordParams nowhere = params();
  nowhere.dbName = "no such'name";
  nowhere.recordMode = KTRStreamRecordParams::ByEvents;
  begin(nowhere);
  stop();
  EXPECT_TRUE(
      log_.has(16, "KTRAudioStreamRecordSession::run() remove session 0 because of ByEvents"));
}

}  // namespace

#include "recording/KTRVideoStreamRecordSession.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>

#include "runtime/KTRFrameWriter.h"
#include "tests/support/ClientCalls.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TableBlock.h"

namespace {

using Format = KTRFrameFormat;

constexpr const char* UNKNOWN = "[ KTRVideoStreamRecordSession::run() ] : UNKNOWN";

class KTRVideoStreamRecordSessionTest : public RecorderFixture {
 protected:
  // The values of a session row as the recorder first inserts them.
  [[nodiscard]] std::string insertTail() const {
    return " ( streamID, settingsID, start_time,end_time,update_time, dataAvailable,storage,"
           "streamType,realFps) VALUES ( 3,1,0,0," +
           std::to_string(START) + ",2,'" + dayDirectory() + "',0,25 ) ";
  }

  ClientCalls calls_;
};

TEST_F(KTRVideoStreamRecordSessionTest, FirstKeyFrameOpensASessionAtItsTime) {
  begin();
  key();
  EXPECT_EQ(value("SELECT streamID,start_time,end_time,dataAvailable,streamType FROM "
                  "recordSessions"),
            "3," + std::to_string(START) + ",0,1,0");
  EXPECT_TRUE(log_.has(16, "[x] Start Video SessionID:1 for StreamID:3"));
}

TEST_F(KTRVideoStreamRecordSessionTest, SessionRowNamesSettingsStorageAndFrameRate) {
  begin();
  key();
  EXPECT_EQ(value("SELECT name,settings,streamType FROM streamSettings"),
            "clip,25,0,h264,640x360,,0");
  EXPECT_EQ(value("SELECT s.realFps,s.settingsID=t.id FROM recordSessions s, streamSettings t"),
            "15,1")
      << "a cached row has the fixed frame rate";
  EXPECT_EQ(value("SELECT storage FROM recordSessions"), dayDirectory());
}

TEST_F(KTRVideoStreamRecordSessionTest, SessionRowIsInsertedWithItsFirstValues) {
  begin();
  key();
  EXPECT_THAT(calls_.statements(), testing::Contains("INSERT INTO recordSessions " + insertTail()));
}

TEST_F(KTRVideoStreamRecordSessionTest, FramesBeforeTheFirstKeyFrameAreDropped) {
  begin();
  frame(Format::Empty);
  delta();
  EXPECT_EQ(session_->progress().frames, 0U);
  key();
  delta();
  EXPECT_EQ(session_->progress().frames, 2U);
}

TEST_F(KTRVideoStreamRecordSessionTest, RowOfAKeyFrameIsWrittenWithTheNextOne) {
  begin();
  key();
  EXPECT_EQ(indexRows(), 0U);
  keyEvery(1, 1);
  EXPECT_EQ(value("SELECT _id,_offset,_time,_fileIndex,_delayUsec FROM dataStreams"),
            "1,0," + std::to_string(START) + ",0,40000");
  EXPECT_EQ(value("SELECT end_time,realFps FROM recordSessions"),
            std::to_string(START + 1) + ",15");
}

TEST_F(KTRVideoStreamRecordSessionTest, RowsPointAtTheirRecords) {
  begin();
  key();
  delta();
  keyEvery(1, 2);
  const unsigned int record = makeFrame(Format::Key, 0).size + 8;
  EXPECT_EQ(rows("SELECT _offset FROM dataStreams ORDER BY _time"),
            (std::vector<std::string>{"0", std::to_string(2 * record)}));
}

TEST_F(KTRVideoStreamRecordSessionTest, TwoKeyFramesOfOneSecondMakeOneRow) {
  begin();
  key();
  clock_.advance(std::chrono::milliseconds(500));
  key();
  keyEvery(2, 2);
  EXPECT_EQ(rows("SELECT _time FROM dataStreams ORDER BY _time"),
            (std::vector<std::string>{std::to_string(START), std::to_string(START + 2)}));
  EXPECT_EQ(session_->progress().frames, 4U);
}

TEST_F(KTRVideoStreamRecordSessionTest, DelayIsTheKeyIntervalOverAllFramesSoFar) {
  begin();
  key();
  delta();
  keyEvery(2, 2);
  EXPECT_EQ(rows("SELECT _delayUsec FROM dataStreams ORDER BY _time"),
            (std::vector<std::string>{"40000", std::to_string(2000 / 3 * 1000)}));
}

TEST_F(KTRVideoStreamRecordSessionTest, JpegStreamIsIndexedEveryThreeSeconds) {
  begin();
  for (int i = 0; i < 250; ++i) {
    frame(Format::Jpeg);
    clock_.advance(std::chrono::milliseconds(40));
  }
  EXPECT_EQ(rows("SELECT _time FROM dataStreams ORDER BY _time"),
            (std::vector<std::string>{std::to_string(START), std::to_string(START + 3),
                                      std::to_string(START + 6)}));
  EXPECT_EQ(session_->progress().frames, 250U);
}

TEST_F(KTRVideoStreamRecordSessionTest, JpegRowNeedsMoreThanThreeSeconds) {
  begin();
  frame(Format::Jpeg);
  clock_.advanceSeconds(3);
  frame(Format::Jpeg);
  EXPECT_EQ(indexRows(), 0U);
  clock_.advance(std::chrono::milliseconds(1));
  frame(Format::Jpeg);
  EXPECT_EQ(indexRows(), 1U);
}

TEST_F(KTRVideoStreamRecordSessionTest, FramesReachTheDiskAsTheyWereCommitted) {
  begin();
  key();
  delta();
  const unsigned int stamp = stampNow();
  stop();
  KTRFile reader(KTString(prefix(1)), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  KTDataBlock stored;
  ASSERT_GT(reader.readKTRData(stored), 0);
  EXPECT_EQ(stored, makeFrame(Format::Key, stamp));
  ASSERT_GT(reader.readKTRData(stored), 0);
  EXPECT_EQ(stored, makeFrame(Format::Delta, stamp));
}

TEST_F(KTRVideoStreamRecordSessionTest, SeveralFramesInOneMessageAreAllStored) {
  begin();
  KTDataBlock message = makeFrame(Format::Key, stampNow());
  message += makeFrame(Format::Delta, stampNow() + 40);
  message += makeFrame(Format::Delta, stampNow() + 80);
  send(KTRMessageType::FrameData, message);
  settle();
  EXPECT_EQ(session_->progress().frames, 3U);
  EXPECT_TRUE(session_->dataArrived());
}

TEST_F(KTRVideoStreamRecordSessionTest, StopStoresWhatWasCommittedBefore) {
  begin();
  for (unsigned int i = 0; i < 100; ++i) {
    send(KTRMessageType::FrameData,
         makeFrame(i == 0 ? Format::Key : Format::Delta, stampNow() + i));
  }
  send(KTRMessageType::Stop);
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 100U);
}

TEST_F(KTRVideoStreamRecordSessionTest, MessagesBehindTheStopAreDropped) {
  begin();
  key();
  whileHeldUpBy(UNKNOWN, [&] {
    send(0x200);
    send(KTRMessageType::Stop);
    for (int i = 0; i < 3; ++i) {
      send(KTRMessageType::FrameData, makeFrame(Format::Delta, stampNow()));
    }
  });
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 1U);
  EXPECT_EQ(session_->queueLength(), 0U);
}

TEST_F(KTRVideoStreamRecordSessionTest, FifteenSecondsOfSilenceEndTheSession) {
  begin();
  key();
  clock_.advanceSeconds(14);
  settle();
  EXPECT_FALSE(ended());
  clock_.advanceSeconds(1);
  session_->wait();
  EXPECT_TRUE(log_.has(64, "NO VIDEO PACKET -> CLOSING 3  "));
  EXPECT_EQ(send(KTRMessageType::FrameData), -1);
}

TEST_F(KTRVideoStreamRecordSessionTest, HundredEightySecondsWithoutAKeyFrameEndTheSession) {
  begin();
  key();
  for (int i = 0; i < 18; ++i) {
    clock_.advanceSeconds(10);
    delta();
  }
  EXPECT_FALSE(ended());
  clock_.advanceSeconds(1);
  delta();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(64, "NO IFRAMES for 180 sec -> CLOSING 3  "));
}

TEST_F(KTRVideoStreamRecordSessionTest, ClockSetBackByMoreThanThreeMinutesEndsTheSession) {
  begin();
  key();
  clock_.stepWall(-181);
  delta();
  EXPECT_TRUE(ended());
}

TEST_F(KTRVideoStreamRecordSessionTest, EmptyFramesKeepTheSessionAliveWithoutBeingStored) {
  begin();
  key();
  for (int i = 0; i < 40; ++i) {
    clock_.advanceSeconds(10);
    frame(Format::Empty);
  }
  EXPECT_FALSE(ended());
  EXPECT_EQ(session_->progress().frames, 1U);
}

TEST_F(KTRVideoStreamRecordSessionTest, FirstMessageWithoutAKeyFrameEndsTheSession) {
  begin();
  delta();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(64, "NO IFRAMES for 180 sec -> CLOSING 3  "));
}

TEST_F(KTRVideoStreamRecordSessionTest, MessageWithoutAFrameCountsAsAMissingKeyFrame) {
  begin();
  key();
  for (int i = 0; i < 18; ++i) {
    clock_.advanceSeconds(10);
    send(KTRMessageType::FrameData, KTDataBlock(3));
    settle();
  }
  EXPECT_FALSE(ended());
  clock_.advanceSeconds(1);
  send(KTRMessageType::FrameData, KTDataBlock(3));
  settle();
  EXPECT_TRUE(ended());
}

TEST_F(KTRVideoStreamRecordSessionTest, MessageWithoutAFrameIsNoArrival) {
  begin();
  send(KTRMessageType::FrameData, KTDataBlock(3));
  settle();
  EXPECT_FALSE(session_->dataArrived());
}

TEST_F(KTRVideoStreamRecordSessionTest, FrameAnHourAheadIsTakenAndOneSecondMoreEndsTheSession) {
  begin();
  frame(Format::Key, stampNow() + 3600 * 1000);
  EXPECT_FALSE(ended());
  const unsigned int stamp = stampNow() + 3601 * 1000;
  frame(Format::Key, stamp);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(64, "Frame timestamp:" + std::to_string(stamp) + " after conversion" +
                               std::to_string(START + 3601) +
                               " is greater than the KTGSERV time :" + std::to_string(START) +
                               "!!!=> begin new session disable the queue..! "));
}

TEST_F(KTRVideoStreamRecordSessionTest, FrameFiveMinutesLateIsTakenAndOneSecondMoreEndsTheSession) {
  begin();
  frame(Format::Key, stampNow() - 300 * 1000);
  EXPECT_FALSE(ended());
  frame(Format::Key, stampNow() - 301 * 1000);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(
      log_.has(64, "Recording is too slow => closing session serverTime:" + std::to_string(START) +
                       " currentFrameTime:" + std::to_string(START - 301) +
                       " queue_size:0 messages videoFrameParser_.size:0 bytes"));
}

TEST_F(KTRVideoStreamRecordSessionTest, ReportOfALateFrameCountsWhatWaitsBehindIt) {
  begin();
  key();
  const unsigned int late = stampNow() - 301 * 1000;
  whileHeldUpBy(UNKNOWN, [&] {
    send(0x200);
    send(KTRMessageType::FrameData, makeFrame(Format::Key, late) + makeFrame(Format::Delta, late));
    send(KTRMessageType::Ignored);
  });
  settle();
  EXPECT_TRUE(
      log_.has(64, "Recording is too slow => closing session serverTime:" + std::to_string(START) +
                       " currentFrameTime:" + std::to_string(START - 301) +
                       " queue_size:1 messages videoFrameParser_.size:" +
                       std::to_string(makeFrame(Format::Delta, late).size) + " bytes"));
}

TEST_F(KTRVideoStreamRecordSessionTest, ThreadIsMadeKnownToTheClientLibrary) {
  calls_.forget();
  begin();
  EXPECT_EQ(calls_.threadInits(), 1U);
  EXPECT_EQ(calls_.threadEnds(), 0U);
  stop();
  EXPECT_EQ(calls_.threadInits(), 1U);
  EXPECT_EQ(calls_.threadEnds(), 1U);
}

TEST_F(KTRVideoStreamRecordSessionTest, TimeMessageSetsTheGatewayClock) {
  begin();
  sendTime(START - 1000, START);
  frame(Format::Key, stampNow() - 1000 * 1000);
  EXPECT_EQ(value("SELECT start_time FROM recordSessions"), std::to_string(START - 1000));
  EXPECT_EQ(session_->getGatewayTime(), START - 999);
}

TEST_F(KTRVideoStreamRecordSessionTest, ShortTimeMessageChangesNothing) {
  begin();
  send(KTRMessageType::Time, KTDataBlock(7));
  settle();
  EXPECT_EQ(session_->getGatewayTime(), START);
  EXPECT_TRUE(log_.has(64, "[ KTRVideoStreamRecordSession ] time message of 7 bytes dropped"));
  EXPECT_FALSE(ended());
}

TEST_F(KTRVideoStreamRecordSessionTest, FrameClockThatRunsBackwardsStartsANewSession) {
  begin();
  key();
  keyEvery(10, 1);
  frame(Format::Key, stampNow() - 5000);
  key();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "2");
  EXPECT_EQ(session_->progress().sessionId, 2U);
}

TEST_F(KTRVideoStreamRecordSessionTest, NewSessionCountsAnewAndLeavesThePendingRowOfTheOldOne) {
  begin();
  key();
  keyEvery(10, 1);
  frame(Format::Key, stampNow() - 5000);
  key();
  keyEvery(1, 2);
  const auto row = [](int session, long second, int delayUsec) {
    return std::to_string(session) + "," + std::to_string(START + second) + "," +
           std::to_string(delayUsec);
  };
  EXPECT_EQ(rows("SELECT _id,_time,_delayUsec FROM dataStreams ORDER BY _id,_time"),
            (std::vector<std::string>{row(1, 0, 40000), row(1, 10, 5000000), row(2, 10, 40000),
                                      row(2, 11, 500000)}));
}

TEST_F(KTRVideoStreamRecordSessionTest, OtherSessionKindsGoOnWhenTheFrameClockRunsBackwards) {
  KTRStreamRecordParams other = params();
  other.sessionKind = 11;
  begin(other);
  key();
  keyEvery(10, 1);
  frame(Format::Key, stampNow() - 5000);
  key();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "1");
}

TEST_F(KTRVideoStreamRecordSessionTest, SlowTurnIsReported) {
  begin();
  key();
  log_.whenLogged(UNKNOWN, [this] { clock_.advanceSeconds(4); });
  send(0x200);
  settle();
  EXPECT_TRUE(log_.has(64, "TOO SLOW !!! One turn have took : 4 sec 0 usec"));
}

TEST_F(KTRVideoStreamRecordSessionTest, TurnOfThreeSecondsIsNotSlow) {
  begin();
  key();
  log_.whenLogged(UNKNOWN, [this] { clock_.advance(std::chrono::milliseconds(3999)); });
  send(0x200);
  settle();
  EXPECT_EQ(log_.countContaining("TOO SLOW"), 0U);
}

TEST_F(KTRVideoStreamRecordSessionTest, UnknownMessagesAreReportedAndTheIgnoredKindIsNot) {
  begin();
  send(KTRMessageType::Ignored);
  settle();
  EXPECT_EQ(log_.countContaining("UNKNOWN"), 0U);
  send(0x200);
  settle();
  EXPECT_TRUE(log_.has(64, "[ KTRVideoStreamRecordSession::run() ] : UNKNOWN"));
  EXPECT_FALSE(ended());
}

TEST_F(KTRVideoStreamRecordSessionTest, LongQueueIsReportedAtEveryStoredFrame) {
  begin();
  key();
  whileHeldUpBy(UNKNOWN, [&] {
    send(0x200);
    for (int i = 0; i < 25; ++i) {
      send(KTRMessageType::FrameData, makeFrame(Format::Delta, stampNow()));
    }
  });
  settle();
  // 24, 23, 22 and 21 messages waited behind the first four frames.
  const auto identity = static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(session_.get()));
  const std::string text = "[" + std::to_string(identity) + "]QUEUE SIZE IS GROWING  !! size:";
  for (unsigned int waiting = 21; waiting <= 24; ++waiting) {
    EXPECT_EQ(log_.count(64, text + std::to_string(waiting)), 1U);
  }
  EXPECT_EQ(log_.countContaining("QUEUE SIZE IS GROWING"), 4U);
}

TEST_F(KTRVideoStreamRecordSessionTest, SlicesRollAtTheirSize) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 30;
  begin(small);
  key();
  keyEvery(11, 3);
  EXPECT_EQ(session_->progress().sliceIndex, 3U);
  EXPECT_TRUE(sliceExists(3));
}

TEST_F(KTRVideoStreamRecordSessionTest, FailedWriteEndsTheSession) {
  begin();
  key();
  {
    const FileSizeLimit full(1);
    clock_.advanceSeconds(11);
    delta();
  }
  EXPECT_TRUE(ended());
  const unsigned int record = makeFrame(Format::Key, 0).size + 8;
  EXPECT_TRUE(
      log_.has(128, "Saving error !!! fileindex:0 record:1 offset:" + std::to_string(record)));
}

TEST_F(KTRVideoStreamRecordSessionTest, LostIndexTableEndsTheSession) {
  begin();
  key();
  db()->destroyVideoStream(1);
  exec("DROP TABLE dataStreams");
  keyEvery(1, 1);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "videoStreamTable stream 1 instance is NULL !"));
}

TEST_F(KTRVideoStreamRecordSessionTest, RefusedIndexRowEndsTheSession) {
  begin();
  key();
  exec("DROP TABLE dataStreams");
  keyEvery(1, 1);
  EXPECT_TRUE(ended());
  const unsigned int record = makeFrame(Format::Key, 0).size + 8;
  EXPECT_TRUE(log_.has(
      128, "addRowRes error !!! fileindex:0 record:1  offset:" + std::to_string(record) + " !"));
}

TEST_F(KTRVideoStreamRecordSessionTest, UnwritableStorageEndsTheSession) {
  KTRStreamRecordParams bad = params();
  bad.storageDir = "/proc/no/such";
  begin(bad);
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant Create Directory !!"));
  EXPECT_TRUE(log_.has(128, "/proc/no creation failed "));
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
}

TEST_F(KTRVideoStreamRecordSessionTest, SettingsThatCannotBeStoredEndTheSession) {
  ASSERT_NE(db(), nullptr);
  exec("DROP TABLE streamSettings");
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant add videoSettings in DB error !!."));
}

TEST_F(KTRVideoStreamRecordSessionTest, IndexTableThatCannotBeCreatedEndsTheSession) {
  ASSERT_NE(db(), nullptr);
  const TableBlock block("ktr_cam", "dataStreams");
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant create createVideoStreamTabl in DB error !!."));
}

TEST_F(KTRVideoStreamRecordSessionTest, HalfBornRowOfACrashIsReplaced) {
  begin();
  key();
  stop();
  exec("UPDATE recordSessions SET start_time=0,end_time=0");
  begin();
  key();
  EXPECT_EQ(rows("SELECT start_time>0 FROM recordSessions"), (std::vector<std::string>{"1"}));
  EXPECT_GT(session_->progress().sessionId, 1U);
  EXPECT_EQ(log_.count(128, "insert=" + insertTail()), 1U);
}

TEST_F(KTRVideoStreamRecordSessionTest, HalfBornRowThatCannotBeDeletedEndsTheSession) {
  begin();
  key();
  stop();
  exec("UPDATE recordSessions SET start_time=0,end_time=0");
  exec(
      "CREATE TRIGGER keep BEFORE DELETE ON recordSessions FOR EACH ROW "
      "SIGNAL SQLSTATE '45000' SET MESSAGE_TEXT='kept'");
  calls_.forget();
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant delete wrong RecorderSessionRow in DB sessionID=1"));
  EXPECT_TRUE(log_.has(128, "Can't add RecorderSessionRow in DB recordid=0"));
  EXPECT_EQ(log_.count(128, "insert=" + insertTail()), 2U);
  EXPECT_THAT(calls_.statements(),
              testing::Contains("DELETE FROM  recordSessions   WHERE id=1").Times(1));
  EXPECT_EQ(rows("SELECT id FROM recordSessions"), (std::vector<std::string>{"1"}));
}

TEST_F(KTRVideoStreamRecordSessionTest, SettingsThatAreNotFoundAgainEndTheSession) {
  ASSERT_NE(db(), nullptr);
  exec(
      "INSERT INTO streamSettings (name,settings,streamType) VALUES "
      "('other','25,0,h264,640x360,','0')");
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant find videoSettings in DB error !!."));
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
}

TEST_F(KTRVideoStreamRecordSessionTest, DataFileThatCannotBeOpenedEndsTheSession) {
  std::filesystem::create_directories(slicePath(1, 0));
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(
      log_.has(128, "KTRFile " + dayDirectory() + "/record_ktr_cam_R1_F0.dat opened Failed !!!!"));
  EXPECT_EQ(log_.countContaining("[x] Start Video"), 0U);
}

TEST_F(KTRVideoStreamRecordSessionTest, StartTimeThatCannotBeSetEndsTheSession) {
  log_.whenLogged("[x] Start Video SessionID:1 for StreamID:3",
                  [this] { exec("DELETE FROM recordSessions"); });
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant update RecorderSessionRow in DB sessionID=1"));
}

TEST_F(KTRVideoStreamRecordSessionTest, EndTimeThatCannotBeSetEndsTheSession) {
  begin();
  key();
  evictFirstRow();
  exec("DELETE FROM recordSessions WHERE id=1");
  keyEvery(1, 1);
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant update RecorderSessionRow in DB sessionID=1"));
}

TEST_F(KTRVideoStreamRecordSessionTest, LostSessionTableEndsTheSession) {
  ASSERT_NE(db(), nullptr);
  exec("DROP TABLE recordSessions");
  begin();
  key();
  EXPECT_TRUE(ended());
  EXPECT_TRUE(log_.has(128, "Cant find duplicate RecorderSessionRow in DB streamID=3 startTime=0"));
}

TEST_F(KTRVideoStreamRecordSessionTest, MidnightOfTheGatewayStartsANewSession) {
  const long midnight = (START / 86400 + 1) * 86400;
  clock_.stepWall(midnight - 2 - now());
  begin();
  key();
  keyEvery(1, 4);
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "2");
  EXPECT_EQ(rows("SELECT start_time FROM recordSessions ORDER BY id")[1],
            std::to_string(midnight + 1));
}

TEST_F(KTRVideoStreamRecordSessionTest, IsNamedAfterItsClass) {
  begin();
  EXPECT_EQ(session_->name(), "KTRVideoStreamRecordSession");
}

TEST_F(KTRVideoStreamRecordSessionTest, DestructionEndsARunningSession) {
  begin();
  key();
  session_.reset();
  EXPECT_TRUE(sliceExists(0));
  EXPECT_GT(std::filesystem::file_size(slicePath(1, 0)), 0U);
}

TEST_F(KTRVideoStreamRecordSessionTest, WithoutAFactoryTheSessionEnds) {
  KTRStreamRecordParams nowhere = params();
  nowhere.dbName = "no such'name";
  begin(nowhere);
  key();
  EXPECT_TRUE(ended());
}

}  // namespace

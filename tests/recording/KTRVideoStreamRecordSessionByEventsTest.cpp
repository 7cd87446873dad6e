#include "recording/KTRVideoStreamRecordSession.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "runtime/KTRFrameWriter.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/RecorderFixture.h"
#include "tests/support/TableBlock.h"

namespace {

using Format = KTRFrameFormat;

class KTRVideoStreamRecordSessionByEventsTest : public RecorderFixture {};

TEST_F(KTRVideoStreamRecordSessionByEventsTest, FirstBitThatMatchesDecides) {
  begin();
  send(KTRMessageType::FrameData | KTRMessageType::ByEvents, makeFrame(Format::Key, stampNow()));
  settle();
  delta();
  EXPECT_EQ(session_->progress().frames, 2U);
  send(KTRMessageType::ByEvents | KTRMessageType::EventConfirmed);
  settle();
  key();
  EXPECT_EQ(session_->progress().sessionId, 2U);
  send(KTRMessageType::Time | KTRMessageType::FrameData, makeFrame(Format::Delta, stampNow()));
  settle();
  EXPECT_EQ(session_->progress().frames, 3U);
  EXPECT_NE(session_->getGatewayTime(), START);
  send(KTRMessageType::Stop | KTRMessageType::FrameData, makeFrame(Format::Delta, stampNow()));
  session_->wait();
  EXPECT_EQ(session_->progress().frames, 3U);
  EXPECT_EQ(rows("SELECT id FROM recordSessions"), (std::vector<std::string>{"1"}));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, ByEventsKeepsARollingWindowOfSlices) {
  beginByEvents(10);
  key();
  keyEvery(1, 13);
  EXPECT_TRUE(sliceExists(0));
  EXPECT_TRUE(sliceExists(1));
  keyEvery(1, 1);
  EXPECT_FALSE(sliceExists(0)) << "the third slice was complete";
  EXPECT_TRUE(sliceExists(1));
  EXPECT_TRUE(sliceExists(3));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, ByEventsDefaultsKeepOneFullSlice) {
  beginByEvents(0);
  key();
  keyEvery(1, 8);
  EXPECT_TRUE(sliceExists(0));
  keyEvery(1, 1);
  EXPECT_FALSE(sliceExists(0));
  EXPECT_TRUE(sliceExists(1));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, CutSliceMovesTheSessionStart) {
  beginByEvents(0);
  key();
  keyEvery(1, 9);
  db()->recordSessionTable()->updateDataBase(true);
  EXPECT_EQ(value("SELECT start_time FROM recordSessions"), std::to_string(START + 5));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, UnconfirmedByEventsSessionIsRemovedAtTheEnd) {
  beginByEvents(10);
  key();
  keyEvery(1, 3);
  stop();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
  EXPECT_EQ(indexRows(), 0U);
  EXPECT_TRUE(
      log_.has(16, "KTRVideoStreamRecordSession::run() remove session 1 because of ByEvents"));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, EndedSessionStillNamesItsFiles) {
  beginByEvents(10);
  key();
  send(KTRMessageType::Stop);
  session_->wait();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "0");
  EXPECT_EQ(std::filesystem::path(session_->filePrefix().c_str()).lexically_normal(), prefix(1));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, ConfirmedEventKeepsTheSession) {
  beginByEvents(10);
  key();
  keyEvery(1, 1);
  send(KTRMessageType::EventConfirmed);
  settle();
  keyEvery(1, 20);
  EXPECT_TRUE(sliceExists(0)) << "a confirmed session is cut no more";
  stop();
  EXPECT_EQ(dataOf(1), "1");
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, ConfirmationMarksTheSessionAsHavingData) {
  beginByEvents(10);
  key();
  forgetData(1);
  send(KTRMessageType::EventConfirmed);
  settle();
  EXPECT_EQ(dataOf(1), "1");
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, ConfirmationOfAContinuousRecordingMarksNothing) {
  begin();
  key();
  forgetData(1);
  send(KTRMessageType::EventConfirmed);
  settle();
  EXPECT_EQ(dataOf(1), "0");
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest,
       SwitchToByEventsStartsANewSessionAtTheNextKeyFrame) {
  begin();
  key();
  send(KTRMessageType::ByEvents);
  settle();
  clock_.advanceSeconds(1);
  delta();
  EXPECT_EQ(session_->progress().sessionId, 1U);
  key();
  EXPECT_EQ(session_->progress().sessionId, 2U);
  stop();
  EXPECT_EQ(rows("SELECT id FROM recordSessions"), (std::vector<std::string>{"1"}));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, NewSessionMakesItsFirstJpegRowAtOnce) {
  begin();
  frame(Format::Jpeg);
  send(KTRMessageType::ByEvents);
  settle();
  for (const long seconds : {1, 4}) {
    clock_.advanceSeconds(seconds);
    frame(Format::Jpeg);
  }
  EXPECT_EQ(value("SELECT _id,_time FROM dataStreams"), "2," + std::to_string(START + 1));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, NewSessionMayBeginAtAnEarlierStamp) {
  begin();
  key();
  send(KTRMessageType::ByEvents);
  settle();
  frame(Format::Key, stampNow() - 5000);
  key();
  EXPECT_EQ(session_->progress().sessionId, 2U);
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, NewByEventsSessionCountsKeyFramesAndSlicesAnew) {
  beginByEvents(0);
  key();
  keyEvery(1, 8);
  send(KTRMessageType::ByEvents);
  settle();
  keyEvery(1, 4);
  EXPECT_FALSE(std::filesystem::exists(slicePath(2, 1)));
  keyEvery(1, 1);
  EXPECT_TRUE(std::filesystem::exists(slicePath(2, 1)));
  EXPECT_TRUE(std::filesystem::exists(slicePath(2, 0)));
}

TEST_F(KTRVideoStreamRecordSessionByEventsTest, MissingKeyFramesKeepAnUnconfirmedSession) {
  beginByEvents(10);
  key();
  clock_.advanceSeconds(10);
  for (int i = 0; i < 18; ++i) {
    delta();
    clock_.advanceSeconds(10);
  }
  delta();
  session_->wait();
  EXPECT_EQ(value("SELECT count(*) FROM recordSessions"), "1");
}

}  // namespace

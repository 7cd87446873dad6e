#include "playback/KTRStreamReadSession.h"

#include <filesystem>

#include "playback/KTRVideoStreamReadSession.h"
#include "tests/playback/PlaybackFixture.h"

namespace {

using Format = KTRFrameFormat;

class KTRStreamReadSessionTest : public PlaybackFixture {
 protected:
  // Ends the session that is recorded and begins another one some seconds later.
  void pauseRecording(long seconds) { clock_.advanceSeconds(seconds); }
  // Records five seconds of the stream in another size.
  void recordOther(const char* size) {
    KTRStreamRecordParams other = params();
    other.videoSettings = KTRVideoSettingsRow("clip", 25, 0, "h264", size, "");
    begin(other);
    key();
    keyEvery(1, 4);
    stop();
    db()->recordSessionTable()->updateDataBase(true);
  }
  // Records a key frame every ten seconds.
  void recordSparsely(int count) {
    begin();
    key();
    keyEvery(10, count - 1);
    stop();
    db()->recordSessionTable()->updateDataBase(true);
  }
};

TEST_F(KTRStreamReadSessionTest, LoadBeginsAtTheFirstIndexedFrameOfTheWindow) {
  recordSeconds(20);
  ASSERT_TRUE(play(START + 7, 5));
  EXPECT_EQ(nextFrame(), 7);
  EXPECT_EQ(nextFrame(), 8);
}

TEST_F(KTRStreamReadSessionTest, EmptyWindowBeginsAtTheIndexedFrameBefore) {
  recordSparsely(4);
  ASSERT_TRUE(play(START + 12));
  EXPECT_EQ(player_->startTime(), START + 10);
  EXPECT_EQ(nextFrame(), 10);
}

TEST_F(KTRStreamReadSessionTest, AudioSettingsBeginAtTheIndexedFrameBehind) {
  recordSparsely(4);
  exec("UPDATE streamSettings SET streamType='1'");
  ASSERT_TRUE(play(START + 8));
  EXPECT_EQ(player_->startTime(), START + 10);
  EXPECT_EQ(nextFrame(), 10);
}

TEST_F(KTRStreamReadSessionTest, DummyloadLooksFromTheStartOfTheRecordSession) {
  recordSparsely(4);
  exec("UPDATE streamSettings SET streamType='1'");
  exec("DELETE FROM dataStreams WHERE _time>" + std::to_string(START));
  player_ = std::make_unique<KTRVideoStreamReadSession>("cam", 0);
  EXPECT_TRUE(player_->dummyload(at(START + 8)));
  EXPECT_EQ(player_->settings().settings, "25,0,h264,640x360,") << "the one thing that it writes";
  EXPECT_EQ(player_->recordSession().id, 0U);
  EXPECT_EQ(player_->startTime(), 0);
  EXPECT_FALSE(play(START + 8));
}

TEST_F(KTRStreamReadSessionTest, StartBeforeTheRecordingPlaysFromItsStart) {
  recordSeconds(10);
  ASSERT_TRUE(play(START - 100, 200));
  EXPECT_EQ(player_->startTime(), START);
  EXPECT_EQ(nextFrame(), 0);
}

TEST_F(KTRStreamReadSessionTest, TimeThatNoSessionCoversIsNotFound) {
  recordSeconds(10);
  EXPECT_FALSE(play(START - 100, 99));
  EXPECT_FALSE(play(START + 1000));
  EXPECT_EQ(nextFrame(), -1);
}

TEST_F(KTRStreamReadSessionTest, OtherStreamsAreNotFound) {
  recordSeconds(10);
  Parameters other = at(START);
  other["streamid"] = "4";
  EXPECT_FALSE(play(other));
}

TEST_F(KTRStreamReadSessionTest, SettingsIdNarrowsTheSearch) {
  recordSeconds(10);
  Parameters wanted = at(START);
  wanted["settingsid"] = "1";
  EXPECT_TRUE(play(wanted));
  wanted["settingsid"] = "2";
  EXPECT_FALSE(play(wanted));
}

TEST_F(KTRStreamReadSessionTest, SizePicksTheSessionThatHasIt) {
  recordSeconds(10);
  recordOther("1280x720");
  exec("UPDATE recordSessions SET end_time=" + std::to_string(now()));
  Parameters sized = at(START + 10);
  sized["size"] = "1280x720";
  ASSERT_TRUE(play(sized));
  EXPECT_EQ(player_->settings().settings, "25,0,h264,1280x720,");
  EXPECT_EQ(nextFrame(), 10);
  EXPECT_TRUE(player_->dummyload(sized));
}

TEST_F(KTRStreamReadSessionTest, LoadedSessionResumesWithoutALookup) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 2));
  EXPECT_EQ(nextFrame(), 2);
  player_->pause();
  EXPECT_EQ(nextFrame(), -1);
  exec("DROP TABLE recordSessions");
  Parameters onlyStream;
  onlyStream["streamid"] = "99";
  ASSERT_TRUE(player_->load(onlyStream));
  EXPECT_EQ(nextFrame(), 3);
  Parameters onlyTime;
  onlyTime["starttime"] = "5";
  EXPECT_TRUE(player_->load(onlyTime));
}

TEST_F(KTRStreamReadSessionTest, FailedLoadStopsPlayingAndStaysLoaded) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 2));
  EXPECT_FALSE(play(START + 5000));
  EXPECT_EQ(nextFrame(), -1);
  EXPECT_TRUE(player_->load(Parameters()));
  EXPECT_EQ(drain(), 8);
}

TEST_F(KTRStreamReadSessionTest, DummyloadAnswersAsLoadWouldAndMovesNothing) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 2));
  EXPECT_EQ(nextFrame(), 2);
  EXPECT_TRUE(player_->dummyload(at(START + 6)));
  EXPECT_FALSE(player_->dummyload(at(START + 5000)));
  EXPECT_EQ(nextFrame(), 3);
  player_->pause();
  EXPECT_TRUE(player_->dummyload(Parameters()));
  EXPECT_EQ(nextFrame(), -1) << "a probe does not resume";
}

TEST_F(KTRStreamReadSessionTest, NextRecordSessionGoesOnWhereTheStreamDoes) {
  recordSeconds(5);
  pauseRecording(100);
  recordSeconds(5);
  ASSERT_TRUE(play(START));
  EXPECT_EQ(drain(), 5);
  ASSERT_TRUE(player_->loadNextRecordSession());
  EXPECT_EQ(nextFrame(), 104);
  EXPECT_EQ(drain(), 4);
}

TEST_F(KTRStreamReadSessionTest, NextRecordSessionHasTheSameSettings) {
  recordSeconds(5);
  pauseRecording(100);
  recordOther("1280x720");
  ASSERT_TRUE(play(START));
  EXPECT_FALSE(player_->loadNextRecordSession());
  ASSERT_TRUE(play(START + 104));
  EXPECT_EQ(nextFrame(), 104);
}

TEST_F(KTRStreamReadSessionTest, BehindTheLastRecordSessionThereIsNone) {
  recordSeconds(5);
  player_ = std::make_unique<KTRVideoStreamReadSession>("cam", 0);
  EXPECT_FALSE(player_->loadNextRecordSession()) << "nothing was loaded";
  ASSERT_TRUE(play(START));
  EXPECT_FALSE(player_->loadNextRecordSession());
  EXPECT_EQ(nextFrame(), -1);
}

TEST_F(KTRStreamReadSessionTest, StopReturnsToTheLoadPointAndDoesNotPlay) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 3));
  EXPECT_EQ(nextFrame(), 3);
  EXPECT_TRUE(player_->stop());
  EXPECT_EQ(nextFrame(), -1);
  ASSERT_TRUE(player_->load(Parameters()));
  EXPECT_EQ(nextFrame(), 3);
}

TEST_F(KTRStreamReadSessionTest, SeekZeroReturnsToTheLoadPoint) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 3));
  EXPECT_EQ(nextFrame(), 3);
  EXPECT_EQ(nextFrame(), 4) << "reads ahead to the end of the chain";
  EXPECT_FALSE(player_->seek(0)) << "the chain was closed there";
  ASSERT_TRUE(play(START + 3));
  EXPECT_TRUE(player_->seek(0));
  EXPECT_EQ(nextFrame(), 3);
}

TEST_F(KTRStreamReadSessionTest, SeekZeroAndStopReturnToTheLoadPointAfterMoves) {
  recordSeconds(10);
  exec("UPDATE dataStreams SET _time=0 WHERE _time=" + std::to_string(START));
  for (const bool stopped : {false, true}) {
    ASSERT_TRUE(play(START + 3));
    EXPECT_EQ(nextFrame(), 3);
    EXPECT_FALSE(player_->forward(100));
    ASSERT_TRUE(player_->rewind(4)) << "to the row whose time is that of slice 0";
    ASSERT_TRUE(stopped ? player_->stop() : player_->seek(0));
    EXPECT_EQ(nextFrame(), stopped ? -1 : 3);
    ASSERT_TRUE(player_->load(Parameters()));
    EXPECT_EQ(nextFrame(), stopped ? 3 : 4);
  }
}

TEST_F(KTRStreamReadSessionTest, LongestRewindFails) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 3));
  EXPECT_EQ(nextFrame(), 3);
  EXPECT_FALSE(player_->rewind(0x80000000U));
}

TEST_F(KTRStreamReadSessionTest, SeekBeforeAFrameWasReadFails) {
  recordSeconds(10);
  ASSERT_TRUE(play(START + 3));
  EXPECT_FALSE(player_->seek(2));
  EXPECT_TRUE(log_.has(64, "[ SEEK ] Failed No Frame Read - no timestamp available !!! "));
}

TEST_F(KTRStreamReadSessionTest, SeekWithoutAFileFailsQuietly) {
  recordSeconds(10);
  player_ = std::make_unique<KTRVideoStreamReadSession>("cam", 0);
  log_.clear();
  EXPECT_FALSE(player_->seek(2));
  EXPECT_FALSE(player_->stop());
  EXPECT_EQ(log_.countContaining("SEEK"), 0U);
}

TEST_F(KTRStreamReadSessionTest, SeekTakesTimeAndSessionIdAsSliceAndOffset) {
  recordSeconds(10);
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 0);
  log_.clear();
  EXPECT_FALSE(player_->seek(2));
  EXPECT_TRUE(log_.has(64, "[ SEEK ] NOT current file !!! "));
  const unsigned int slice = static_cast<unsigned char>(START + 3);
  EXPECT_TRUE(log_.has(
      128, "KTRFile " + dir_.path() + KTTimeValue(START, 0).asString("/%Y/%m/%d/").c_str() +
               "/record_ktr_cam_R1_F" + std::to_string(slice) + ".dat opened Failed !!!!"));
}

TEST_F(KTRStreamReadSessionTest, SeekWithinTheSliceWhenTheTimeEqualsItsIndex) {
  recordSeconds(10);
  exec("UPDATE dataStreams SET _time=0 WHERE _time=" + std::to_string(START));
  ASSERT_TRUE(play(START + 1));
  EXPECT_EQ(nextFrame(), 1);
  EXPECT_TRUE(player_->seek(-1)) << "slice 0, offset 1: the session id";
  EXPECT_EQ(nextFrame(), -1);
  EXPECT_EQ(log_.countContaining("Synchronization ERROR"), 1U);
}

TEST_F(KTRStreamReadSessionTest, ForwardPastTheEndFailsAndPlaysOn) {
  recordSeconds(10);
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 0);
  player_->pause();
  log_.clear();
  EXPECT_FALSE(player_->forward(100));
  EXPECT_TRUE(log_.has(64, "[ SEEK ] Failed !!! "));
  EXPECT_EQ(nextFrame(), 1);
}

TEST_F(KTRStreamReadSessionTest, RewindBeforeTheStartFailsAndPlaysOn) {
  recordSeconds(10);
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 0);
  player_->pause();
  EXPECT_FALSE(player_->rewind(100));
  EXPECT_EQ(nextFrame(), 1);
}

TEST_F(KTRStreamReadSessionTest, FrameTimeIsCountedFromTheStartOfTheSession) {
  const long start = 1700006390;  // 23:59:50 UTC
  EXPECT_EQ(KTRStreamReadSession::getRealTimeWithBaseTime(start, 5000), 1700006405);
  EXPECT_EQ(KTRStreamReadSession::getRealTimeWithBaseTime(start, 86395000), 1700006395);
  EXPECT_EQ(KTRStreamReadSession::getRealTimeWithBaseTime(start, 0), start);
}

TEST_F(KTRStreamReadSessionTest, FrameTimeIsCountedBackFromNow) {
  const KTRStreamReadSession session("cam", 100);
  const unsigned int nowMs = stampNow();
  EXPECT_EQ(session.getRealTime(nowMs - 200 * 1000), START - 200);
  EXPECT_EQ(session.getRealTime(nowMs - 50 * 1000), START - 50 - 86400) << "after shifted now";
}

TEST_F(KTRStreamReadSessionTest, UnknownDatabaseIsNeverCreatedAndAnswersFalse) {
  KTRVideoStreamReadSession stranger("stranger", 0);
  EXPECT_FALSE(stranger.databaseAvailable());
  EXPECT_FALSE(stranger.load(at(START)));
  EXPECT_FALSE(stranger.dummyload(at(START)));
  EXPECT_TRUE(log_.has(128, "[ db_instance ] 'ktr_stranger' not Exist and not Loaded !"));
}

TEST_F(KTRStreamReadSessionTest, BaseDeliversNoFrames) {
  ASSERT_NE(db(), nullptr);
  KTRStreamReadSession base("cam", 0);
  EXPECT_TRUE(base.databaseAvailable());
  KTDataBlock frame;
  unsigned int stamp = 0;
  EXPECT_FALSE(base.getFrame(frame, stamp));
  EXPECT_STREQ(base.name(), "KTRStreamReadSession");
  EXPECT_EQ(base.settings().settings, "UNKNOWN");
  EXPECT_EQ(base.settings().streamType, 3U);
  EXPECT_EQ(base.recordSession().streamType, 3U);
}

TEST_F(KTRStreamReadSessionTest, MissingSettingsRowFailsTheLoad) {
  recordSeconds(5);
  exec("DELETE FROM streamSettings");
  EXPECT_FALSE(play(START));
}

TEST_F(KTRStreamReadSessionTest, MissingIndexFailsTheLoad) {
  recordSeconds(5);
  exec("DELETE FROM dataStreams");
  EXPECT_FALSE(play(START));
  db()->destroyVideoStream(1);
  exec("DROP TABLE dataStreams");
  EXPECT_FALSE(play(START));
}

TEST_F(KTRStreamReadSessionTest, MissingDataFileFailsTheLoadAndStaysLoaded) {
  recordSeconds(5);
  ASSERT_TRUE(play(START));
  std::filesystem::remove(slicePath(1, 0));
  EXPECT_FALSE(play(START));
  EXPECT_EQ(nextFrame(), -1);
  EXPECT_TRUE(player_->load(Parameters()));
}

}  // namespace

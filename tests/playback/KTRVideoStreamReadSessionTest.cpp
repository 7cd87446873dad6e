#include "playback/KTRVideoStreamReadSession.h"

#include <thread>

#include "tests/playback/PlaybackFixture.h"

namespace {

using Format = KTRFrameFormat;

class KTRVideoStreamReadSessionTest : public PlaybackFixture {};

TEST_F(KTRVideoStreamReadSessionTest, FramesComeBackAsTheyWereCommitted) {
  begin();
  const unsigned int stamp = stampNow();
  key();
  delta();
  keyEvery(1, 2);
  stop();
  ASSERT_TRUE(play(START));
  KTDataBlock frame;
  unsigned int unused = 0;
  ASSERT_TRUE(player_->getFrame(frame, unused));
  EXPECT_EQ(frame, makeFrame(Format::Key, stamp));
  ASSERT_TRUE(player_->getFrame(frame, unused));
  EXPECT_EQ(frame, makeFrame(Format::Delta, stamp));
  EXPECT_EQ(drain(), 2);
}

TEST_F(KTRVideoStreamReadSessionTest, PausedSessionReadsNothing) {
  recordSeconds(5);
  ASSERT_TRUE(play(START));
  EXPECT_EQ(nextFrame(), 0);
  player_->pause();
  KTDataBlock frame = makeFrame(Format::Delta, 1);
  unsigned int unused = 0;
  EXPECT_FALSE(player_->getFrame(frame, unused));
  EXPECT_EQ(frame, makeFrame(Format::Delta, 1));
  ASSERT_TRUE(player_->load(Parameters()));
  EXPECT_EQ(nextFrame(), 1);
}

TEST_F(KTRVideoStreamReadSessionTest, SessionThatWasNeverLoadedHasNoFrames) {
  ASSERT_NE(db(), nullptr);
  player_ = std::make_unique<KTRVideoStreamReadSession>("cam", 0);
  EXPECT_EQ(nextFrame(), -1);
  EXPECT_STREQ(player_->name(), "KTRVideoStreamReadSession");
}

TEST_F(KTRVideoStreamReadSessionTest, FramesBehindTheLastIndexedOneArePlayed) {
  begin();
  key();
  keyEvery(1, 2);
  for (int i = 0; i < 10; ++i) delta();
  stop();
  ASSERT_TRUE(play(START));
  EXPECT_EQ(drain(), 13);
}

TEST_F(KTRVideoStreamReadSessionTest, RecordingInProgressPlaysWhatWasFlushed) {
  begin();
  key();
  keyEvery(1, 11);
  delta();
  db()->recordSessionTable()->updateDataBase(true);
  ASSERT_TRUE(play(START + 5));
  EXPECT_EQ(drain(), 7) << "second 11 made the flush";
  keyEvery(1, 11);
  EXPECT_EQ(nextFrame(), -1) << "the open reader stays at its end";
  db()->recordSessionTable()->updateDataBase(true);
  ASSERT_TRUE(play(START + 11));
  EXPECT_EQ(nextFrame(), 11) << "a new load goes on";
}

TEST_F(KTRVideoStreamReadSessionTest, ManySlicesPlayAsOneStream) {
  KTRStreamRecordParams small = params();
  small.sliceSize = 300;
  begin(small);
  key();
  keyEvery(1, 59);
  EXPECT_GE(session_->progress().sliceIndex, 4U);
  stop();
  ASSERT_TRUE(play(START + 30));
  for (long second = 30; second < 60; ++second) EXPECT_EQ(nextFrame(), second);
  EXPECT_EQ(nextFrame(), -1);
}

TEST_F(KTRVideoStreamReadSessionTest, FramesAreReadWhileAnotherThreadMoves) {
  recordSeconds(60);
  ASSERT_TRUE(play(START));
  std::atomic<bool> done{false};
  std::thread mover([&] {
    while (!done) (void)player_->seek(0);
  });
  for (int i = 0; i < 500; ++i) {
    KTDataBlock frame;
    unsigned int unused = 0;
    if (player_->getFrame(frame, unused)) {
      EXPECT_EQ(frame.size, makeFrame(Format::Key, 0).size);
    }
  }
  done = true;
  mover.join();
}

}  // namespace

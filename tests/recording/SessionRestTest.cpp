#include <cstdint>
#include <thread>

#include "tests/support/RecorderFixture.h"

namespace {

using Format = KTRFrameFormat;

class SessionRestTest : public RecorderFixture, public testing::WithParamInterface<streamTypes> {
 protected:
  SessionRestTest() : RecorderFixture(GetParam()) {}

  // Returns when the session rests behind its first frame, which is a codec's header for sound.
  void beginAndRest() {
    begin();
    clock_.letRest();
    giveFrame();
    settle();
    ASSERT_EQ(clock_.rests(), 1);
    storedFirst_ = session_->progress().frames;
  }
  // Does not wait until the session has taken it.
  void giveFrame() {
    const Format::Kind kind = kind_ == STREAM_AUDIO ? Format::Audio : Format::Key;
    ASSERT_EQ(send(KTRMessageType::FrameData, makeFrame(kind, stampNow())), 0);
  }
  void awaitStored(std::uint64_t frames) const {
    while (session_->progress().frames < frames) std::this_thread::yield();
  }

  std::uint64_t storedFirst_ = 0;
};

TEST_P(SessionRestTest, FramesGatherWhileASessionRests) {
  beginAndRest();
  giveFrame();
  giveFrame();
  clock_.advanceToNextWait(KTClock::Span(1));
  EXPECT_EQ(session_->queueLength(), 2U);
  EXPECT_EQ(session_->progress().frames, storedFirst_);
  clock_.advance(std::chrono::milliseconds(120));
  awaitStored(storedFirst_ + 2);
}

TEST_P(SessionRestTest, AStopStoresWhatHasGatheredBeforeIt) {
  beginAndRest();
  giveFrame();
  giveFrame();
  send(KTRMessageType::Stop);
  session_->wait();
  EXPECT_EQ(session_->progress().frames, storedFirst_ + 2);
}

INSTANTIATE_TEST_SUITE_P(, SessionRestTest, testing::Values(STREAM_VIDEO, STREAM_AUDIO));

}  // namespace

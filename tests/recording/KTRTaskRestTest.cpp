#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "recording/KTRTask.h"
#include "tests/support/ManualClock.h"

namespace {

constexpr KTClock::Span REST = std::chrono::milliseconds(120);
constexpr KTClock::Span MOMENT = KTClock::Span(1);
constexpr int REST_MESSAGES = KTRTask::REST_MESSAGES;

// Takes what comes, as a record session does. It lingers at a message of type Ignored.
class FlowTask : public KTRTask {
 public:
  FlowTask(std::atomic<int>& taken, const std::atomic<bool>& lingers)
      : taken_(taken), lingers_(lingers) {
    start(false);
  }
  ~FlowTask() override {
    queue_.disable();
    wait();
  }

  KTString name() const override { return "FlowTask"; }
  int run() override {
    while (const KTMessage* message = nextMessage()) {
      const int type = message->type;
      message->destroy();
      if (type == KTRMessageType::Ignored) linger();
      if ((type & KTRMessageType::Stop) != 0) queue_.disable();
      ++taken_;
    }
    drainQueue();
    return 0;
  }

 private:
  void linger() const {
    while (lingers_) std::this_thread::yield();
  }

  std::atomic<int>& taken_;
  const std::atomic<bool>& lingers_;
};

class KTRTaskRestTest : public testing::Test {
 protected:
  KTRTaskRestTest() {
    clock_.letRest();
    task_ = std::make_unique<FlowTask>(taken_, lingers_);
    clock_.awaitWaiters(1);
  }

  void give(int type, KTMessage::Priority priority = KTMessage::NormalPriority) {
    ASSERT_EQ(task_->commit(KTDataBlock(1), type, priority), 0);
  }
  void giveFrames(int n) {
    for (int i = 0; i < n; ++i) give(KTRMessageType::FrameData);
  }
  // Returns when so many messages are taken and the task waits or rests again.
  void awaitTaken(int messages) {
    while (taken_ < messages || clock_.waiters() == 0) std::this_thread::yield();
  }
  // Each frame as soon as the one before is taken.
  void giveOneByOne(int frames) {
    for (int i = 0; i < frames; ++i) {
      const int before = taken_;
      giveFrames(1);
      awaitTaken(before + 1);
    }
  }
  void restBehindAFrame() { giveOneByOne(1); }
  // Moves time on by less than a rest, in which a task that rests takes nothing.
  void expectStillness(int taken, unsigned int queued) {
    clock_.advanceToNextWait(MOMENT);
    EXPECT_EQ(taken_, taken);
    EXPECT_EQ(task_->queueLength(), queued);
  }

  ManualClock clock_;
  std::atomic<int> taken_{0};
  std::atomic<bool> lingers_{false};
  std::unique_ptr<FlowTask> task_;
};

TEST_F(KTRTaskRestTest, TheFirstFrameIsTakenAtOnce) {
  EXPECT_EQ(clock_.rests(), 0);
  giveFrames(1);
  awaitTaken(1);
}

TEST_F(KTRTaskRestTest, FramesThatComeDuringARestAreTakenTogetherAtItsEnd) {
  restBehindAFrame();
  giveFrames(2);
  clock_.advanceToNextWait(REST - 2 * MOMENT);
  expectStillness(1, 2);
  clock_.advance(MOMENT);
  awaitTaken(3);
  EXPECT_EQ(clock_.rests(), 2);
}

TEST_F(KTRTaskRestTest, EnoughFramesEndARest) {
  restBehindAFrame();
  giveFrames(REST_MESSAGES - 1);
  expectStillness(1, REST_MESSAGES - 1);
  giveFrames(1);
  awaitTaken(1 + REST_MESSAGES);
}

TEST_F(KTRTaskRestTest, FramesThatComeInARushAreTakenOneByOne) {
  restBehindAFrame();
  giveFrames(REST_MESSAGES);
  awaitTaken(1 + REST_MESSAGES);
  giveOneByOne(250 - REST_MESSAGES);
  EXPECT_EQ(clock_.rests(), 1);
  giveOneByOne(1);
  EXPECT_EQ(clock_.rests(), 2);
}

TEST_F(KTRTaskRestTest, FramesThatCameDuringALongTurnAreNoRush) {
  lingers_ = true;
  give(KTRMessageType::Ignored);
  giveFrames(1 + REST_MESSAGES);  // enough behind the first of them
  lingers_ = false;
  awaitTaken(2 + REST_MESSAGES);
  giveFrames(1);
  expectStillness(2 + REST_MESSAGES, 1);
}

TEST_F(KTRTaskRestTest, NobodyRestsForAWhileBehindARestWithoutFrames) {
  restBehindAFrame();
  clock_.advanceToNextWait(REST);
  giveOneByOne(25);
  EXPECT_EQ(clock_.rests(), 1);
  giveOneByOne(1);
  EXPECT_EQ(clock_.rests(), 2);
}

TEST_F(KTRTaskRestTest, OtherMessagesEndARest) {
  restBehindAFrame();
  giveFrames(1);
  give(KTRMessageType::EventConfirmed);
  awaitTaken(3);
}

TEST_F(KTRTaskRestTest, AStopEndsARestWhateverItBringsAndFramesBeforeItAreTaken) {
  restBehindAFrame();
  giveFrames(3);
  give(KTRMessageType::Stop | KTRMessageType::FrameData);
  task_->wait();
  EXPECT_EQ(taken_, 5);
}

TEST_F(KTRTaskRestTest, AnUrgentFrameEndsARest) {
  restBehindAFrame();
  give(KTRMessageType::FrameData, KTMessage::UrgentPriority);
  awaitTaken(2);
}

TEST_F(KTRTaskRestTest, NobodyRestsBehindAMessageWithoutFrames) {
  give(KTRMessageType::Time);
  awaitTaken(1);
  EXPECT_EQ(clock_.rests(), 0);
}

TEST_F(KTRTaskRestTest, SilenceLastsFifteenSecondsFromTheLastFrameOn) {
  restBehindAFrame();
  clock_.advanceToNextWait(REST);
  clock_.advanceToNextWait(std::chrono::seconds(15) - REST - MOMENT);
  clock_.advance(MOMENT);
  task_->wait();
  EXPECT_EQ(taken_, 1);
}

TEST_F(KTRTaskRestTest, ATaskThatIsEndedInARestTakesNothingMore) {
  restBehindAFrame();
  giveFrames(3);
  task_.reset();
  EXPECT_EQ(taken_, 1);
}

}  // namespace

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "recording/KTRTask.h"
#include "tests/support/RestingClock.h"

namespace {

// Takes what comes, as a record session does, until nothing comes or it is disabled.
class FlowTask : public KTRTask {
 public:
  FlowTask() { start(false); }
  ~FlowTask() override {
    queue_.disable();
    wait();
  }

  KTString name() const override { return "FlowTask"; }
  int run() override {
    while (const KTMessage* message = nextMessage()) {
      message->destroy();
      ++taken;
    }
    return 0;
  }

  std::atomic<int> taken{0};
};

class KTRTaskRestTest : public testing::Test {
 protected:
  KTRTaskRestTest() { clock_.awaitWaiters(1); }

  void give(int type, KTMessage::Priority priority = KTMessage::NormalPriority) {
    ASSERT_EQ(task_->commit(KTDataBlock(1), type, priority), 0);
  }
  void giveFrame() { give(KTRMessageType::FrameData); }
  // Returns when so many messages are taken and the task waits or rests again.
  void awaitTaken(int messages) {
    while (task_->taken < messages || clock_.waiters() == 0) std::this_thread::yield();
  }
  void restBehindAFrame() {
    giveFrame();
    awaitTaken(1);
  }

  static constexpr KTClock::Span REST = std::chrono::milliseconds(120);

  RestingClock clock_;
  std::unique_ptr<FlowTask> task_ = std::make_unique<FlowTask>();
};

TEST_F(KTRTaskRestTest, TheFirstFrameIsTakenAtOnce) {
  EXPECT_EQ(clock_.rests(), 0);
  giveFrame();
  awaitTaken(1);
  EXPECT_EQ(task_->taken, 1);
}

TEST_F(KTRTaskRestTest, FramesThatComeDuringARestAreTakenTogether) {
  restBehindAFrame();
  giveFrame();
  giveFrame();
  EXPECT_EQ(task_->queueLength(), 2U);
  clock_.advance(REST);
  awaitTaken(3);
  EXPECT_EQ(clock_.rests(), 2);
}

TEST_F(KTRTaskRestTest, AFrameBehindARestIsTakenAtOnce) {
  restBehindAFrame();
  clock_.advanceToNextWait(REST);
  giveFrame();
  awaitTaken(2);
  EXPECT_EQ(task_->taken, 2);
}

TEST_F(KTRTaskRestTest, EightFramesEndARest) {
  restBehindAFrame();
  for (int i = 0; i < 8; ++i) giveFrame();
  awaitTaken(9);
  EXPECT_EQ(task_->taken, 9);
}

TEST_F(KTRTaskRestTest, NobodyRestsAmongFramesThatCameInARush) {
  restBehindAFrame();
  for (int i = 0; i < 8; ++i) giveFrame();
  awaitTaken(9);
  for (int taken = 10; taken <= 251; ++taken) {
    giveFrame();
    awaitTaken(taken);
  }
  EXPECT_EQ(clock_.rests(), 1);
  giveFrame();
  awaitTaken(252);
  EXPECT_EQ(clock_.rests(), 2);
}

TEST_F(KTRTaskRestTest, OtherMessagesEndARest) {
  restBehindAFrame();
  giveFrame();
  give(KTRMessageType::EventConfirmed);
  awaitTaken(3);
  EXPECT_EQ(task_->taken, 3);
}

TEST_F(KTRTaskRestTest, AnUrgentFrameEndsARest) {
  restBehindAFrame();
  give(KTRMessageType::FrameData, KTMessage::UrgentPriority);
  awaitTaken(2);
  EXPECT_EQ(task_->taken, 2);
}

TEST_F(KTRTaskRestTest, NobodyRestsBehindAMessageWithoutFrames) {
  give(KTRMessageType::Time);
  awaitTaken(1);
  EXPECT_EQ(clock_.rests(), 0);
}

TEST_F(KTRTaskRestTest, SilenceBehindARestLastsFifteenSeconds) {
  restBehindAFrame();
  clock_.advanceToNextWait(REST);
  clock_.advanceToNextWait(std::chrono::seconds(15) - KTClock::Span(1));
  giveFrame();
  awaitTaken(2);
  clock_.advanceToNextWait(REST);
  clock_.advanceSeconds(15);
  task_->wait();
  EXPECT_EQ(task_->taken, 2);
}

TEST_F(KTRTaskRestTest, ATaskThatRestsEndsAtOnce) {
  restBehindAFrame();
  task_.reset();  // would not return
}

}  // namespace

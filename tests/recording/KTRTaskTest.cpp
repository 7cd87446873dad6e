#include "recording/KTRTask.h"

#include <gtest/gtest.h>

namespace {

// Takes messages until it is stopped, then leaves the rest to drainQueue().
class EchoTask : public KTRTask {
 public:
  EchoTask() { start(false); }
  ~EchoTask() override {
    queue_.disable();
    wait();
  }

  KTString name() const override { return "EchoTask"; }
  int run() override {
    while (const KTMessage* message = queue_.deq(KTTimeValue::Unlimited)) {
      if ((message->type & KTRMessageType::Stop) != 0) queue_.disable();
      payload = message->data();
      types += message->type;
      message->destroy();
      dataArrived_ = true;
      if (!queue_.enabled()) break;
    }
    drainQueue();
    return 0;
  }

  KTDataBlock payload;
  int types = 0;
};

TEST(KTRTaskTest, CommittedDataReachesTheTask) {
  EchoTask task;
  const KTDataBlock data(reinterpret_cast<const unsigned char*>("abc"), 3);
  EXPECT_EQ(task.commit(data, KTRMessageType::Stop | 0x100, KTMessage::NormalPriority), 0);
  task.wait();
  EXPECT_EQ(task.payload, data);
  EXPECT_EQ(task.types, 0x101);
}

TEST(KTRTaskTest, DataArrivedTellsWhetherABatchWasTaken) {
  EchoTask task;
  EXPECT_FALSE(task.dataArrived());
  ASSERT_EQ(task.commit(KTDataBlock(1), KTRMessageType::Stop, KTMessage::NormalPriority), 0);
  task.wait();
  EXPECT_TRUE(task.dataArrived());
}

TEST(KTRTaskTest, EndedTaskRefusesMessages) {
  EchoTask task;
  ASSERT_EQ(task.commit(KTDataBlock(1), KTRMessageType::Stop, KTMessage::NormalPriority), 0);
  task.wait();
  EXPECT_FALSE(task.alive());
  EXPECT_EQ(task.commit(KTDataBlock(1), KTRMessageType::FrameData, KTMessage::NormalPriority), -1);
  EXPECT_EQ(task.queueLength(), 0U);
}

// Takes nothing by itself: what is committed waits until the test looks at it.
class IdleTask : public KTRTask {
 public:
  KTString name() const override { return "IdleTask"; }
  int run() override { return 0; }
  [[nodiscard]] int takeType() {
    const KTMessage* message = queue_.deq(KTTimeValue(0, 0));
    const int type = message->type;
    message->destroy();
    return type;
  }
  void endAndDrain() {
    queue_.disable();
    drainQueue();
  }
};

TEST(KTRTaskTest, PriorityIsPassedToTheQueue) {
  IdleTask task;
  ASSERT_EQ(task.commit(KTDataBlock(1), 0x80, KTMessage::NormalPriority), 0);
  ASSERT_EQ(task.commit(KTDataBlock(1), 0x20, KTMessage::UrgentPriority), 0);
  EXPECT_EQ(task.takeType(), 0x20);
  EXPECT_EQ(task.takeType(), 0x80);
}

TEST(KTRTaskTest, DrainingLeavesNothingInTheQueue) {
  IdleTask task;
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(task.commit(KTDataBlock(1), 0x80, KTMessage::NormalPriority), 0);
  }
  task.endAndDrain();
  EXPECT_EQ(task.queueLength(), 0U);
}

}  // namespace

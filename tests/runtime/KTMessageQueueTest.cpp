#include "runtime/KTMessageQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "tests/support/ManualClock.h"

namespace {

class KTMessageQueueTest : public testing::Test {
 protected:
  using Rested = std::future<KTMessageQueue::Rest>;

  static constexpr KTClock::Span REST = std::chrono::milliseconds(80);

  KTMessageQueueTest() { clock_.letRest(); }

  static KTMessage* message(int type) {
    KTMessage* m = KTMessage::create();
    m->type = type;
    return m;
  }

  int put(int type, KTMessage::Priority p = KTMessage::NormalPriority, unsigned int enough = 0) {
    KTMessage* m = message(type);
    const int result = queue_.enq(m, p, enough);
    if (result == -1) m->destroy();
    return result;
  }

  // The type of the next message, 0 when there is none.
  int take(const KTTimeValue& timeout = KTTimeValue(0, 0)) {
    const KTMessage* m = queue_.deq(timeout);
    if (m == nullptr) return 0;
    const int type = m->type;
    m->destroy();
    return type;
  }

  // A message that lets a reader rest until there are enough.
  void putPatient(int type, unsigned int enough) {
    ASSERT_EQ(put(type, KTMessage::NormalPriority, enough), 0);
  }

  // Rests in a thread of its own, and returns when it does.
  Rested restAside() {
    const unsigned int waiters = clock_.waiters();
    Rested rested = std::async(std::launch::async, [this] { return queue_.rest(REST); });
    clock_.awaitWaiters(waiters + 1);
    return rested;
  }
  static bool isOver(Rested& rested) {
    return rested.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  }

  ManualClock clock_;
  KTMessageQueue queue_;
};

TEST_F(KTMessageQueueTest, IsEnabledAndEmptyFromTheStart) {
  EXPECT_TRUE(queue_.enabled());
  EXPECT_TRUE(queue_.empty());
  EXPECT_EQ(queue_.size(), 0U);
}

TEST_F(KTMessageQueueTest, HandsOutTheVeryMessage) {
  KTMessage* m = message(7);
  ASSERT_NE(queue_.enq(m, KTMessage::NormalPriority), -1);
  EXPECT_FALSE(queue_.empty());
  EXPECT_EQ(queue_.deq(KTTimeValue(0, 0)), m);
  EXPECT_TRUE(queue_.empty());
  m->destroy();
}

TEST_F(KTMessageQueueTest, OnePriorityIsFirstInFirstOut) {
  for (int type = 1; type <= 3; ++type) put(type);
  EXPECT_EQ(queue_.size(), 3U);
  for (int type = 1; type <= 3; ++type) EXPECT_EQ(take(), type);
}

TEST_F(KTMessageQueueTest, AHigherPriorityIsServedFirst) {
  put(1);
  put(2, KTMessage::UrgentPriority);
  put(3, KTMessage::UrgentPriority);
  put(4);
  for (const int type : {2, 3, 1, 4}) EXPECT_EQ(take(), type);
}

TEST_F(KTMessageQueueTest, NothingComesWhenTheTimeIsOver) {
  int type = -1;
  std::thread reader([&] { type = take(KTTimeValue(15, 0)); });
  clock_.awaitWaiters(1);
  clock_.advanceSeconds(15);
  reader.join();
  EXPECT_EQ(type, 0);
}

TEST_F(KTMessageQueueTest, TheTimeOutIsNotOverBeforeItsTime) {
  int type = -1;
  std::thread reader([&] { type = take(KTTimeValue(15, 0)); });
  clock_.awaitWaiters(1);
  clock_.advance(std::chrono::microseconds(14999999));
  clock_.awaitWaiters(1);
  put(9);
  reader.join();
  EXPECT_EQ(type, 9);
}

TEST_F(KTMessageQueueTest, AStepOfTheWallClockEndsNoWait) {
  int type = -1;
  std::thread reader([&] { type = take(KTTimeValue(15, 0)); });
  clock_.awaitWaiters(1);
  clock_.stepWall(3600);
  clock_.advanceSeconds(1);
  clock_.awaitWaiters(1);
  put(9);
  reader.join();
  EXPECT_EQ(type, 9);
}

TEST_F(KTMessageQueueTest, AMessageWakesAWaitingReader) {
  int type = -1;
  std::thread reader([&] { type = take(KTTimeValue::Unlimited); });
  clock_.awaitWaiters(1);
  put(5);
  reader.join();
  EXPECT_EQ(type, 5);
}

TEST_F(KTMessageQueueTest, ADisabledQueueRefusesMessages) {
  queue_.disable();
  EXPECT_FALSE(queue_.enabled());
  EXPECT_EQ(put(1), -1);
  EXPECT_TRUE(queue_.empty());
}

TEST_F(KTMessageQueueTest, DisableWakesEveryReaderThatWaitsForEver) {
  std::atomic<int> nulls{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      if (queue_.deq(KTTimeValue::Unlimited) == nullptr) ++nulls;
    });
  }
  clock_.awaitWaiters(3);
  queue_.disable();
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(nulls, 3);
}

TEST_F(KTMessageQueueTest, ADisabledEmptyQueueAnswersAtOnce) {
  queue_.disable();
  EXPECT_EQ(take(KTTimeValue::Unlimited), 0);
  queue_.disable();
  EXPECT_FALSE(queue_.enabled());
}

TEST_F(KTMessageQueueTest, ADisabledQueueCanBeDrained) {
  put(1);
  put(2);
  queue_.disable();
  EXPECT_EQ(take(KTTimeValue::Unlimited), 1);
  EXPECT_EQ(take(KTTimeValue::Unlimited), 2);
  EXPECT_EQ(take(KTTimeValue::Unlimited), 0);
}

TEST_F(KTMessageQueueTest, ARestIsOverAtItsEndAndNotBefore) {
  Rested rested = restAside();
  putPatient(1, 8);
  clock_.advanceToNextWait(REST - KTClock::Span(1));
  EXPECT_FALSE(isOver(rested));
  clock_.advance(KTClock::Span(1));
  EXPECT_EQ(rested.get(), KTMessageQueue::TimeIsOver);
  EXPECT_EQ(queue_.size(), 1U);
}

TEST_F(KTMessageQueueTest, EnoughMessagesEndARestAndFewerDoNot) {
  Rested rested = restAside();
  putPatient(1, 3);
  putPatient(2, 3);
  clock_.advanceToNextWait(KTClock::Span(1));
  EXPECT_FALSE(isOver(rested));
  putPatient(3, 3);
  EXPECT_EQ(rested.get(), KTMessageQueue::MessageCame);
  for (int type = 1; type <= 3; ++type) EXPECT_EQ(take(), type);
}

TEST_F(KTMessageQueueTest, AMessageThatCannotWaitEndsEveryRest) {
  Rested one = restAside();
  Rested other = restAside();
  putPatient(1, 8);
  put(2);
  EXPECT_EQ(one.get(), KTMessageQueue::MessageCame);
  EXPECT_EQ(other.get(), KTMessageQueue::MessageCame);
}

TEST_F(KTMessageQueueTest, DisableEndsARest) {
  Rested rested = restAside();
  queue_.disable();
  EXPECT_EQ(rested.get(), KTMessageQueue::QueueIsDisabled);
  EXPECT_EQ(queue_.rest(REST), KTMessageQueue::QueueIsDisabled);
}

TEST_F(KTMessageQueueTest, NobodyRestsBesideAMessage) {
  put(1);
  EXPECT_EQ(queue_.rest(REST), KTMessageQueue::MessageWasThere);
  queue_.disable();
  EXPECT_EQ(queue_.rest(REST), KTMessageQueue::QueueIsDisabled);
}

TEST_F(KTMessageQueueTest, AReaderThatWaitsGetsWhatLeavesAnotherAtRest) {
  Rested rested = restAside();
  std::future<int> type =
      std::async(std::launch::async, [this] { return take(KTTimeValue::Unlimited); });
  clock_.awaitWaiters(2);
  putPatient(5, 8);
  EXPECT_EQ(type.get(), 5);
  clock_.advanceToNextWait(KTClock::Span(1));
  EXPECT_FALSE(isOver(rested));
  queue_.disable();
}

TEST_F(KTMessageQueueTest, AReaderThatRestsGetsEveryMessage) {
  std::atomic<int> taken{0};
  std::thread reader([&] {
    while (queue_.rest(REST) != KTMessageQueue::QueueIsDisabled) {
      if (take() != 0) ++taken;
    }
  });
  for (int given = 8; given <= 8000; given += 8) {
    for (int i = 1; i < 8; ++i) putPatient(1, 8);
    put(1);
    while (taken != given) std::this_thread::yield();
  }
  queue_.disable();
  reader.join();
}

TEST_F(KTMessageQueueTest, MessagesLeftAreDestroyedWithTheQueue) {
  // A leak or a double free here is what the sanitizers look for.
  put(1);
  put(2, KTMessage::UrgentPriority);
}

// The thread sanitizer sees a sender that would still be at a queue which is gone.
TEST_F(KTMessageQueueTest, TheReaderOfTheLastMessageMayEndTheQueue) {
  for (int i = 0; i < 1000; ++i) {
    auto queue = std::make_unique<KTMessageQueue>();
    std::thread sender(
        [&queue = *queue] { ASSERT_EQ(queue.enq(message(1), KTMessage::NormalPriority), 0); });
    KTMessage* last = queue->deq(KTTimeValue(600, 0));
    queue.reset();
    sender.join();
    ASSERT_NE(last, nullptr);
    last->destroy();
  }
}

TEST_F(KTMessageQueueTest, NothingIsLostBetweenManyThreads) {
  std::atomic<int> sum{0};
  std::vector<std::thread> writers;
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (const int type = take(KTTimeValue::Unlimited)) sum += type;
    });
    writers.emplace_back([&] {
      for (int n = 0; n < 1000; ++n) put(1 + n % 2, static_cast<KTMessage::Priority>(n % 2));
    });
  }
  for (std::thread& writer : writers) writer.join();
  queue_.disable();
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(sum, 3 * 1500);
  EXPECT_TRUE(queue_.empty());
}

}  // namespace

#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>

#include "runtime/KTClock.h"
#include "runtime/KTMessage.h"
#include "runtime/KTRExport.h"
#include "runtime/KTTimeValue.h"

/**
 * A queue of messages between threads that can be switched off for good.
 *
 * Owns: the messages in it; those left at destruction are destroyed.
 * Threads: any thread; who has taken the last message may destroy it.
 * Blocks: deq() up to its time-out, rest() for its length; all else for the moment of a lock.
 * Errors: enq() answers -1 once the queue is disabled, and the caller keeps the message.
 */
class KTR_API KTMessageQueue {
 public:
  KTMessageQueue() = default;
  KTMessageQueue(const KTMessageQueue&) = delete;
  KTMessageQueue& operator=(const KTMessageQueue&) = delete;
  ~KTMessageQueue();

  /** How a rest has ended. */
  enum Rest { MessageWasThere, MessageCame, TimeIsOver, QueueIsDisabled };

  /** Appends m behind the messages of its priority and wakes a reader: 0, or -1 when refused. */
  [[nodiscard]] int enq(const KTMessage* m, KTMessage::Priority p) { return enq(m, p, 0); }
  /** The same, but readers that rest are left alone until the queue holds enough messages. */
  [[nodiscard]] int enq(const KTMessage* m, KTMessage::Priority p, unsigned int enough);
  /**
   * Hands out the next message with its ownership. While the queue is enabled waits for one up to
   * timeout; answers null on time-out, and when the queue is disabled and empty or was disabled
   * while waiting. A disabled queue still hands out what is in it, so that it can be drained.
   */
  [[nodiscard]] KTMessage* deq(const KTTimeValue& timeout);
  /**
   * Lets messages gather for about length, as the clock in use ends a rest, or until enq() or
   * disable() ends it. Over at once when there is a message and when the queue is disabled.
   * deq() after it misses nothing.
   */
  [[nodiscard]] Rest rest(KTClock::Span length);
  /** Refuses further messages and wakes every reader. */
  void disable();
  [[nodiscard]] bool enabled() const;
  [[nodiscard]] bool empty() const { return size() == 0; }
  /** Messages in the queue. */
  [[nodiscard]] unsigned int size() const;

 private:
  [[nodiscard]] bool hasMessage() const { return !urgent_.empty() || !normal_.empty(); }
  [[nodiscard]] unsigned int length() const;
  [[nodiscard]] bool awaitMessage(std::unique_lock<std::mutex>& lock, const KTTimeValue& timeout);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable rested_;
  std::deque<KTMessage*> urgent_;
  std::deque<KTMessage*> normal_;
  unsigned int waiting_ = 0;              // readers in deq()
  unsigned int resting_ = 0;              // readers in rest()
  unsigned int restsEnded_ = 0;           // times that enq() has ended them
  std::atomic<unsigned int> waking_ = 0;  // senders, with the lock free
  bool enabled_ = true;
};

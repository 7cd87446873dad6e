#include "runtime/KTMessageQueue.h"

#include <thread>

#include "runtime/KTClock.h"

// Who has taken the last message may end the queue at once, while its sender is still waking.
KTMessageQueue::~KTMessageQueue() {
  while (waking_ != 0) std::this_thread::yield();
  for (const KTMessage* m : urgent_) m->destroy();
  for (const KTMessage* m : normal_) m->destroy();
}

// A reader that is busy finds the message by itself. One that waits is woken with the lock free:
// else it would run on another processor straight into it and go to sleep again.
int KTMessageQueue::enq(const KTMessage* m, KTMessage::Priority p, unsigned int enough) {
  std::unique_lock lock(mutex_);
  if (!enabled_) return -1;
  (p == KTMessage::UrgentPriority ? urgent_ : normal_).push_back(const_cast<KTMessage*>(m));
  const bool isWaited = waiting_ != 0;
  const bool isRestOver = resting_ != 0 && length() >= enough;
  if (!isWaited && !isRestOver) return 0;
  if (isRestOver) ++restsEnded_;
  ++waking_;
  lock.unlock();
  if (isWaited) changed_.notify_one();
  if (isRestOver) rested_.notify_all();
  --waking_;
  return 0;
}

KTMessage* KTMessageQueue::deq(const KTTimeValue& timeout) {
  std::unique_lock lock(mutex_);
  if (!hasMessage() && !awaitMessage(lock, timeout)) return nullptr;
  std::deque<KTMessage*>& from = urgent_.empty() ? normal_ : urgent_;
  KTMessage* m = from.front();
  from.pop_front();
  return m;
}

bool KTMessageQueue::awaitMessage(std::unique_lock<std::mutex>& lock, const KTTimeValue& timeout) {
  KTClock* const clock = KTClock::instance();
  const KTClock::Span until = clock->deadline(timeout);
  while (!hasMessage()) {
    if (!enabled_ || clock->elapsed() >= until) return false;
    ++waiting_;
    clock->wait(changed_, lock, until);
    --waiting_;
  }
  return true;
}

KTMessageQueue::Rest KTMessageQueue::rest(KTClock::Span length) {
  std::unique_lock lock(mutex_);
  if (enabled_ && hasMessage()) return MessageWasThere;
  KTClock* const clock = KTClock::instance();
  const KTClock::Span until = clock->restEnd(length);
  const auto messageCame = [this, endedBefore = restsEnded_] { return restsEnded_ != endedBefore; };
  ++resting_;
  while (enabled_ && !messageCame() && clock->elapsed() < until) {
    clock->wait(rested_, lock, until);
  }
  --resting_;
  if (!enabled_) return QueueIsDisabled;
  return messageCame() ? MessageCame : TimeIsOver;
}

void KTMessageQueue::disable() {
  const std::lock_guard lock(mutex_);
  enabled_ = false;
  changed_.notify_all();
  rested_.notify_all();
}

bool KTMessageQueue::enabled() const {
  const std::lock_guard lock(mutex_);
  return enabled_;
}

unsigned int KTMessageQueue::size() const {
  const std::lock_guard lock(mutex_);
  return length();
}

unsigned int KTMessageQueue::length() const {
  return static_cast<unsigned int>(urgent_.size() + normal_.size());
}

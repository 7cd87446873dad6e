#include "runtime/KTMessageQueue.h"

#include "runtime/KTClock.h"

KTMessageQueue::~KTMessageQueue() {
  for (const KTMessage* m : urgent_) m->destroy();
  for (const KTMessage* m : normal_) m->destroy();
}

int KTMessageQueue::enq(const KTMessage* m, KTMessage::Priority p) {
  const std::lock_guard lock(mutex_);
  if (!enabled_) return -1;
  (p == KTMessage::UrgentPriority ? urgent_ : normal_).push_back(const_cast<KTMessage*>(m));
  changed_.notify_one();
  return 0;
}

KTMessage* KTMessageQueue::deq(const KTTimeValue& timeout) {
  KTClock* const clock = KTClock::instance();
  std::unique_lock lock(mutex_);
  const KTClock::Span until = clock->deadline(timeout);
  while (urgent_.empty() && normal_.empty()) {
    if (!enabled_ || clock->elapsed() >= until) return nullptr;
    clock->wait(changed_, lock, until);
  }
  std::deque<KTMessage*>& from = urgent_.empty() ? normal_ : urgent_;
  KTMessage* m = from.front();
  from.pop_front();
  return m;
}

void KTMessageQueue::disable() {
  const std::lock_guard lock(mutex_);
  enabled_ = false;
  changed_.notify_all();
}

bool KTMessageQueue::enabled() const {
  const std::lock_guard lock(mutex_);
  return enabled_;
}

unsigned int KTMessageQueue::size() const {
  const std::lock_guard lock(mutex_);
  return static_cast<unsigned int>(urgent_.size() + normal_.size());
}

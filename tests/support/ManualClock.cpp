#include "tests/support/ManualClock.h"

using std::chrono::microseconds;
using std::chrono::seconds;

ManualClock::ManualClock(long startSeconds) : wall_(seconds(startSeconds)) {
  install(this);
}

ManualClock::~ManualClock() {
  install(nullptr);
}

KTTimeValue ManualClock::now() {
  const std::lock_guard guard(mutex_);
  const long perSecond = 1000000;
  return KTTimeValue(static_cast<long>(wall_.count() / perSecond),
                     static_cast<long>(wall_.count() % perSecond));
}

KTClock::Span ManualClock::elapsed() {
  const std::lock_guard guard(mutex_);
  return elapsed_;
}

void ManualClock::sleep(const KTTimeValue& d) {
  const Span length = seconds(d.tv_sec) + microseconds(d.tv_usec);
  {
    const std::lock_guard guard(mutex_);
    sleeps_.push_back(length);
  }
  advance(length);
}

void ManualClock::wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                       Span until) {
  {
    const std::lock_guard guard(mutex_);
    if (elapsed_ >= until) return;
    waiters_.push_back({&changed, lock.mutex()});
    ++waits_;
    waitersChanged_.notify_all();
  }
  changed.wait(lock);
  const std::lock_guard guard(mutex_);
  for (size_t i = 0; i < waiters_.size(); ++i) {
    if (waiters_[i].changed != &changed) continue;
    waiters_.erase(waiters_.begin() + static_cast<std::ptrdiff_t>(i));
    break;
  }
}

KTClock::Span ManualClock::restEnd(Span length) {
  const std::lock_guard guard(mutex_);
  if (!isRestful_) return elapsed_;
  ++rests_;
  return elapsed_ + length;
}

void ManualClock::advanceToNextWait(Span by) {
  unsigned int before = 0;
  {
    const std::lock_guard guard(mutex_);
    before = waits_;
  }
  advance(by);
  std::unique_lock guard(mutex_);
  waitersChanged_.wait(guard, [&] { return waits_ != before; });
}

void ManualClock::letRest() {
  const std::lock_guard guard(mutex_);
  isRestful_ = true;
}

int ManualClock::rests() const {
  const std::lock_guard guard(mutex_);
  return rests_;
}

void ManualClock::advance(Span by) {
  std::vector<Waiter> waiting;
  {
    const std::lock_guard guard(mutex_);
    wall_ += by;
    elapsed_ += by;
    waiting = waiters_;
  }
  // The waiter's own mutex is taken so that none is between its look at the clock and its wait.
  for (const Waiter& waiter : waiting) {
    const std::lock_guard held(*waiter.mutex);
    waiter.changed->notify_all();
  }
}

void ManualClock::stepWall(long by) {
  const std::lock_guard guard(mutex_);
  wall_ += seconds(by);
}

void ManualClock::awaitWaiters(unsigned int n) {
  std::unique_lock guard(mutex_);
  waitersChanged_.wait(guard, [&] { return waiters_.size() >= n; });
}

unsigned int ManualClock::waiters() const {
  const std::lock_guard guard(mutex_);
  return static_cast<unsigned int>(waiters_.size());
}

std::vector<KTClock::Span> ManualClock::sleeps() const {
  const std::lock_guard guard(mutex_);
  return sleeps_;
}

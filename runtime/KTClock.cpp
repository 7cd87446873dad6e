#include "runtime/KTClock.h"

#include <atomic>
#include <thread>

namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

class SystemClock : public KTClock {
 public:
  KTTimeValue now() override {
    KTTimeValue value;
    gettimeofday(&value, nullptr);
    return value;
  }

  Span elapsed() override {
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Span>(sinceBoot);
  }

  void sleep(const KTTimeValue& d) override {
    std::this_thread::sleep_for(seconds(d.tv_sec) + microseconds(d.tv_usec));
  }

  void wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
            Span until) override {
    if (until == Span::max()) {
      changed.wait(lock);
    } else {
      changed.wait_until(lock, std::chrono::steady_clock::time_point(until));
    }
  }

  Span restEnd(Span length) override {
    const Span end = elapsed() + length + REST_STEP;
    return end - end % REST_STEP;
  }
};

std::atomic<KTClock*> installed{nullptr};

}  // namespace

KTClock::~KTClock() = default;

KTClock* KTClock::instance() {
  static auto* const system = new SystemClock;  // outlives every static object
  KTClock* clock = installed.load(std::memory_order_acquire);
  return clock != nullptr ? clock : system;
}

void KTClock::install(KTClock* clock) {
  installed.store(clock, std::memory_order_release);
}

KTClock::Span KTClock::restEnd(Span) {
  return elapsed();
}

KTClock::Span KTClock::deadline(const KTTimeValue& timeout) {
  if (timeout == KTTimeValue::Unlimited) return Span::max();
  return elapsed() + seconds(timeout.tv_sec) + microseconds(timeout.tv_usec);
}

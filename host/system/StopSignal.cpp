#include "host/system/StopSignal.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <atomic>
#include <cerrno>

#include "host/HostError.h"

namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

// What the handler may touch: lock-free atomics and the descriptor of the one object.
std::atomic<bool> stopRequested{false};
std::atomic<int> firstSignal{0};
std::atomic<int> eventFd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void raiseEvent() {
  const eventfd_t one = 1;
  [[maybe_unused]] const ssize_t written = write(eventFd, &one, sizeof one);
}

void onSignal(int number) {
  const int before = errno;
  int none = 0;
  firstSignal.compare_exchange_strong(none, number);
  stopRequested = true;
  raiseEvent();
  errno = before;
}

}  // namespace

StopSignal::StopSignal() : event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_) throw systemFailure("cannot watch for signals", "close other programs");
  stopRequested = false;
  firstSignal = 0;
  eventFd = event_.get();
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (int i = 0; i < COUNT; ++i) {
    sigaction(SIGNALS[i], nullptr, &former_[i]);
    // nohup ignores SIGHUP, and that is to stay so. A shell script ignores SIGINT for its
    // background jobs, yet "kill -INT" must stop a recording there too.
    if (SIGNALS[i] == SIGHUP && former_[i].sa_handler == SIG_IGN) continue;
    sigaction(SIGNALS[i], &action, nullptr);
  }
}

StopSignal::~StopSignal() {
  for (int i = 0; i < COUNT; ++i) sigaction(SIGNALS[i], &former_[i], nullptr);
  eventFd = -1;
}

bool StopSignal::requested() const {
  return stopRequested;
}

int StopSignal::signalNumber() const {
  return firstSignal;
}

bool StopSignal::waitFor(int milliseconds) const {
  pollfd event{event_.get(), POLLIN, 0};
  poll(&event, 1, milliseconds);
  return requested();
}

void StopSignal::request() {
  stopRequested = true;
  raiseEvent();
}

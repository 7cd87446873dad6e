#include "host/byevents/ConfirmSignal.h"

#include <atomic>

namespace {

std::atomic<bool> confirmed{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void onSignal(int) {
  confirmed = true;
}

}  // namespace

ConfirmSignal::ConfirmSignal() {
  confirmed = false;
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGUSR1, &action, &former_);
}

ConfirmSignal::~ConfirmSignal() {
  sigaction(SIGUSR1, &former_, nullptr);
}

bool ConfirmSignal::take() {
  return confirmed.exchange(false);
}

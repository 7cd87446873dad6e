#include "runtime/KTTask.h"

#include "runtime/KTClock.h"

KTTask::KTTask() = default;

KTTask::~KTTask() {
  wait();
}

KTString KTTask::name() const {
  return "KTTask";
}

void KTTask::start(bool) {
  thread_ = std::thread([this] { run(); });
}

void KTTask::wait() {
  if (thread_.joinable()) thread_.join();
}

void KTTask::Sleep(const KTTimeValue& d) {
  KTClock::instance()->sleep(d);
}

#include "host/byevents/EventConfirmations.h"

#include "runtime/KTLogger.h"

std::vector<EventConfirmations::Confirmation> EventConfirmations::take() {
  std::vector<Confirmation> all;
  if (pipe_) all = pipe_->take();
  if (!signal_.take()) return all;
  if (pipe_) {
    all.emplace_back();
  } else {
    KTLogger::instance()->log(KTLogger::Warning,
                              "SIGUSR1 confirms an event, but nothing is recorded by events");
  }
  return all;
}

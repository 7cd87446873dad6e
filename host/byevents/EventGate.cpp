#include "host/byevents/EventGate.h"

// The count last: who sees it sees the gate open.
void EventGate::confirm() {
  end_ = (KTClock::instance()->elapsed() + afterEvent_).count();
  ++confirmations_;
}

bool EventGate::isOpen() const {
  return confirmations_ != 0 && KTClock::instance()->elapsed().count() < end_;
}

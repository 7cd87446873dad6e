#pragma once

#include <atomic>

#include "runtime/KTClock.h"

/**
 * Whether there is an event, for the streams that are recorded by events: from a confirmation on
 * until a length of time has passed after the last one.
 *
 * Threads: any thread. Blocks: never.
 */
class EventGate {
 public:
  explicit EventGate(KTClock::Span afterEvent) : afterEvent_(afterEvent) {}

  /** Begins an event, or prolongs the one that there is. */
  void confirm();
  [[nodiscard]] bool isOpen() const;
  /** How often there was a confirmation. */
  [[nodiscard]] unsigned int confirmations() const { return confirmations_; }

 private:
  const KTClock::Span afterEvent_;
  std::atomic<KTClock::Span::rep> end_{0};
  std::atomic<unsigned int> confirmations_{0};
};

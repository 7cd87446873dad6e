#pragma once

#include <map>
#include <optional>
#include <vector>

#include "host/events/EventCatalog.h"

/**
 * Tells the events that have come since it last looked. Events are told by their time stamps, and
 * one that is added up to a minute late is still told.
 *
 * Owns: nothing; the catalog must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: poll() for the server. Errors: as EventCatalog.
 */
class EventWatch {
 public:
  static constexpr long LATE_SECONDS = 60;

  /** Tells events stamped from then on, of one sensor when it is given. */
  EventWatch(const EventCatalog& catalog, std::optional<unsigned int> sensor, long from)
      : catalog_(catalog), sensor_(sensor), from_(from) {}

  /** Those that were not told before, by time. */
  [[nodiscard]] std::vector<StoredEvent> poll();

 private:
  void forgetBefore(long time);

  const EventCatalog& catalog_;
  const std::optional<unsigned int> sensor_;
  long from_;
  std::map<StoredEvent, size_t> told_;  // and how often: events may be equal
};

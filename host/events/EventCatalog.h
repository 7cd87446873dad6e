#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/events/StoredEvent.h"

/**
 * The events of a recorder: reads them through an event read session, and adds to them through an
 * event record session of its own, which any process may do, since nothing holds events in memory.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server.
 * Errors: throws a failure when the events cannot be read or an event was not stored.
 */
class EventCatalog {
 public:
  /** What to read; all that is left out is not asked for. */
  struct Query {
    std::optional<unsigned int> sensor;
    std::optional<long> from;     ///< seconds since the epoch
    std::optional<long> seconds;  ///< only with from
    bool newestFirst = false;
  };

  explicit EventCatalog(std::string recorder) : recorder_(std::move(recorder)) {}

  /** By time. */
  [[nodiscard]] std::vector<StoredEvent> read(const Query& query) const;
  void add(const StoredEvent& event) const;

 private:
  [[nodiscard]] size_t count(const StoredEvent& event) const;

  std::string recorder_;
};

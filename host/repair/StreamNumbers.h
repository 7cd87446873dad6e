#pragma once

#include <optional>
#include <vector>

#include "host/repair/SessionIdentity.h"

/**
 * Finds stream numbers for sessions of which nothing tells it. A session belongs to a stream that
 * has the same settings and records nothing else at the time; else it is a stream of its own. Sound
 * belongs to the pictures that began with it.
 *
 * Threads: one thread at a time for each object. Blocks: never.
 */
class StreamNumbers {
 public:
  /** fixed: the number of all pictures that have none; their sound has that of ktr record. */
  explicit StreamNumbers(std::optional<unsigned char> fixed) : fixed_(fixed) {}

  /** A session whose stream is known. */
  void add(const SessionIdentity& known) { known_.push_back(known); }
  /** The stream of a session, which counts as known from then on. Pictures before sound, by start.
   */
  [[nodiscard]] unsigned int find(const SessionIdentity& identity);

 private:
  [[nodiscard]] std::optional<unsigned int> likeOthers(const SessionIdentity& identity) const;
  [[nodiscard]] std::optional<unsigned int> ofPictures(const SessionIdentity& sound) const;
  [[nodiscard]] unsigned int unused(unsigned int from) const;
  [[nodiscard]] bool isFree(unsigned int stream, const SessionIdentity& identity) const;

  std::optional<unsigned char> fixed_;
  std::vector<SessionIdentity> known_;
};

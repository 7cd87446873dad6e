#pragma once

#include <cstdint>
#include <unordered_set>

#include "host/record/StreamFrame.h"
#include "runtime/KTString.h"

/**
 * Which frames of a stream the recorder holds: for a recording that goes on where a process was
 * killed, and that must not store a frame twice.
 *
 * Threads: one thread at a time for each object.
 * Blocks: readFrom() for the database and the disk.
 */
class StoredFrames {
 public:
  StoredFrames(const KTString& recorder, int stream) : recorder_(recorder), stream_(stream) {}

  /** Learns what is stored from the time of a frame on. */
  void readFrom(const StreamFrame& first);
  [[nodiscard]] bool has(const StreamFrame& frame) const;

 private:
  KTString recorder_;
  int stream_;
  std::unordered_set<std::uint64_t> known_;
};

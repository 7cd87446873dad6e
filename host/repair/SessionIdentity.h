#pragma once

#include <optional>
#include <string>

#include "host/check/RecorderTables.h"
#include "host/check/SessionFiles.h"

/**
 * What a session is, found without its row: from its sidecar file, or from its frames and the
 * header of its sound. Its stream number is in the sidecar file alone.
 *
 * Threads: any thread. Blocks: for the disk.
 */
struct SessionIdentity {
  std::optional<unsigned int> stream;
  RecorderTables::Settings settings;
  unsigned int fps = 0;
  long start = 0;  // seconds
  long end = 0;    // seconds

  [[nodiscard]] bool isSound() const;
  [[nodiscard]] bool overlaps(const SessionIdentity& other) const {
    return start < other.end && other.start < end;
  }

  /** start: of its first frame. */
  [[nodiscard]] static SessionIdentity of(const SessionFiles& files, long start);
};

#pragma once

#include <optional>

#include "host/check/SessionFiles.h"

/**
 * Finds when a session really began: its frames tell the time of day, and the day comes from what
 * else there is, the most certain first: the session's row, its index rows, the directory with the
 * date, and the time at which the first slice was written last.
 *
 * Threads: any thread, as long as none changes the time zone: directories bear local dates.
 * Blocks: for the disk.
 * Units: seconds since the epoch.
 */
class SessionStart {
 public:
  struct Witnesses {
    long rowStart = 0;  // 0: unknown
    std::optional<long> firstIndexed;
  };

  /** The time of the first frame; nothing when no slice holds one. */
  [[nodiscard]] static std::optional<long> of(const SessionFiles& files,
                                              const Witnesses& witnesses);
  /** Noon of the day that a directory ".../2026/01/31/" is named after; nothing for another. */
  [[nodiscard]] static std::optional<long> noonOf(const std::string& directory);
};

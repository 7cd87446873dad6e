#pragma once

#include <string>

/**
 * Removes the day directories YYYY/MM/DD, and their months and years, that nothing is left in.
 * Today's and yesterday's stay: a record session that begins makes its directory first and its
 * file a moment later.
 *
 * Threads: any thread. Blocks: for the file system. Errors: what cannot be removed stays.
 */
class EmptyDays {
 public:
  /** now: seconds since the epoch; days are local. */
  static void removeBelow(const std::string& recorderDirectory, long now);
};

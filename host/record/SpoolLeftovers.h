#pragma once

#include <memory>
#include <set>
#include <vector>

#include "host/record/StreamRecorder.h"

/**
 * Records what an earlier process has left in the spool for streams that are not recorded now.
 * Those that are take their own.
 *
 * Owns: a feed for each of these streams.
 * Threads: one thread at a time for each object.
 * Blocks: finish() until all is recorded, or left where it is.
 */
class SpoolLeftovers {
 public:
  /** recorded: streams that are left out. */
  void start(const StreamRecorder::Options& options, const std::set<unsigned int>& recorded);
  /** Adds the record sessions that are open. */
  void addOpenSessions(std::set<unsigned int>& open) const;
  void finish();

 private:
  std::vector<std::unique_ptr<SessionFeed>> feeds_;
};

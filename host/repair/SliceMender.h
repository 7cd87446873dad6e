#pragma once

#include <cstdint>
#include <string>

/**
 * Puts one slice file right, so that a reader comes from its first sound record to its last: a torn
 * tail is cut off, and garbage is moved into a file of its own, "..._F0.damaged", since somebody
 * may still find something in it.
 *
 * A slice with garbage is written anew beside the old one and takes its place in one step, so that
 * a reader has the old one or the new one. Being cut off between any two steps loses nothing, and
 * mending again goes on.
 *
 * Threads: any thread; one at a time for a slice.
 * Blocks: for the disk.
 * Errors: throws a HostError; the slice is then as it was.
 */
class SliceMender {
 public:
  struct Result {
    uint64_t cutBytes = 0;    // of a torn tail
    uint64_t movedBytes = 0;  // of garbage
    bool unreadable = false;  // nothing was done
  };

  /** path: "..._F0.dat". */
  static Result mend(const std::string& path);
};

#pragma once

#include <string>

#include "host/bench/BenchPlace.h"

/**
 * The pictures of a scenario's footage in an .mp4 file, for programs to read; it is made when it is
 * first asked for, and read once, so that the page cache holds it.
 *
 * Owns: the file, in its place.
 * Threads: the main thread.
 * Blocks: the first path() for seconds.
 * Errors: MediaError.
 */
class BenchMovie {
 public:
  BenchMovie(BenchPlace& place, unsigned int seconds) : place_(place), seconds_(seconds) {}

  [[nodiscard]] const std::string& path();
  [[nodiscard]] std::uint64_t frames() const {
    return std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  }
  /** Bytes of its pictures as a record session stores them. */
  [[nodiscard]] std::uint64_t bytes() { return place_.clip().bytes(frames()); }

 private:
  void make(const std::string& path);

  BenchPlace& place_;
  const unsigned int seconds_;
  std::string path_;
};

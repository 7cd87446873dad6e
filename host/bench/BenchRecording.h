#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/bench/BenchPlace.h"

/**
 * Footage of one stream, recorded through a record session as fast as it goes, for scenarios that
 * play: its times begin at noon of the day before, so that no midnight falls into it.
 *
 * Owns: the recorder of its name.
 * Threads: the main thread.
 * Blocks: record().
 * Errors: HostError when the session does not take or store what it is given.
 */
class BenchRecording {
 public:
  static constexpr unsigned char STREAM = 1;

  BenchRecording(BenchPlace& place, std::string recorder, unsigned int seconds)
      : place_(place), recorder_(std::move(recorder)), seconds_(seconds) {}

  /** Records it, and reads the files once, so that the page cache holds them; the first call only.
   */
  void record();

  /** Seconds since the epoch. */
  [[nodiscard]] static long noonOfYesterday();
  [[nodiscard]] const std::string& recorder() const { return recorder_; }
  [[nodiscard]] unsigned int seconds() const { return seconds_; }
  [[nodiscard]] std::uint64_t frames() const {
    return std::uint64_t{seconds_} * BenchClip::FRAME_RATE;
  }
  /** Time of the first frame, seconds since the epoch. */
  [[nodiscard]] long start() const { return start_; }
  /** The process of the server with its rows. */
  [[nodiscard]] pid_t serverPid() const { return place_.serverPid(); }
  /** Its slices. */
  [[nodiscard]] const std::vector<std::string>& files() const { return files_; }
  /** The number of the frame with this stamp. */
  [[nodiscard]] std::uint64_t numberOf(std::uint32_t stampMs) const;

 private:
  void feed();
  [[nodiscard]] std::uint32_t stampOf(std::uint64_t frame) const;

  BenchPlace& place_;
  const std::string recorder_;
  const unsigned int seconds_;
  long start_ = 0;
  std::vector<std::string> files_;
};

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/check/SliceRecord.h"
#include "host/system/UniqueFd.h"

/**
 * A slice file that is looked at, not played: any of its bytes, and whether a sound record begins
 * at a place. Sound is a record with its marker, a length that a record can have, and a frame in it
 * that is exactly so long, all of it within the file: see docs/format/slice.md and frame.md.
 *
 * The size is that of the moment of opening: a recorder may append meanwhile, and only whole
 * records lie before a size that was seen.
 *
 * Owns: the descriptor and a window of bytes.
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 * Errors: error() holds the errno of the first thing that failed; nothing throws.
 */
class SliceFile {
 public:
  /** How much is read at once: little for single places, much for walking through. */
  enum Window : size_t { Places = 4096, Walk = 1U << 20, LargestRecord = 3U << 20 };

  explicit SliceFile(const std::string& path, Window window = Places);

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] int error() const { return error_; }
  [[nodiscard]] uint64_t size() const { return size_; }
  /** At most a window of bytes from an offset on, at least `least`; empty when they are not there.
   */
  [[nodiscard]] std::span<const unsigned char> bytes(uint64_t offset, size_t least = 1);
  /** The record that begins at an offset; nothing when none, or no sound one, does. */
  [[nodiscard]] std::optional<SliceRecord> recordAt(uint64_t offset);

 private:
  void fill(uint64_t offset);

  std::string path_;
  UniqueFd fd_;
  int error_ = 0;
  uint64_t size_ = 0;
  std::vector<unsigned char> window_;
  uint64_t begin_ = 0;  // of the window in the file
  size_t fill_ = 0;
};

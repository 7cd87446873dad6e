#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>

#include "host/system/UniqueFd.h"
#include "store/DirectWriter.h"

/**
 * An open file or pipe as a place to write to. A file of which much is to be written takes whole
 * blocks, past the page cache: to export an hour then costs half the processor time, and leaves the
 * footage in the cache that is being recorded.
 *
 * Owns: the descriptor, and a block where it collects one.
 * Threads: one thread at a time for each object.
 * Blocks: as long as the disk or the pipe's reader does.
 * Errors: false with errno set.
 */
class BlockOutput {
 public:
  enum Pace {
    AtOnce,   ///< what is written can be read at once
    InBlocks  ///< it comes in blocks, if this is a file; flush() at the end
  };

  BlockOutput(UniqueFd output, Pace pace);
  BlockOutput(const BlockOutput&) = delete;
  BlockOutput& operator=(const BlockOutput&) = delete;
  ~BlockOutput();

  /** A place to go back to can be had: this is no pipe. */
  [[nodiscard]] bool seekable() const { return seekable_; }
  [[nodiscard]] bool write(const unsigned char* bytes, std::size_t count);
  /** Goes to a place, from the beginning; only where seekable() is true. */
  [[nodiscard]] bool seek(off_t place);
  /** Writes out what was collected. */
  [[nodiscard]] bool flush();
  /** Flushes and closes; false for a late error of the disk. */
  [[nodiscard]] bool close();

  /** Where the next byte goes. */
  [[nodiscard]] off_t place() const { return start_ + static_cast<off_t>(filled_); }
  /** Bytes of the file, those that were collected included; -1 for a pipe. */
  [[nodiscard]] off_t size() const;

 private:
  static constexpr std::size_t BLOCK = 2 << 20;  // one large page

  [[nodiscard]] bool collects() const { return block_ != nullptr; }
  [[nodiscard]] bool pass(const unsigned char* bytes, std::size_t count);
  [[nodiscard]] unsigned char* collected() const;

  UniqueFd output_;
  DirectWriter writer_;
  bool seekable_;
  unsigned char* block_ = nullptr;  // BLOCK bytes that begin a page, or null
  off_t start_ = 0;                 // of the file: where what was collected belongs
  std::size_t filled_ = 0;
};

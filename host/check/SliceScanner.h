#pragma once

#include <cstdint>
#include <string>

#include "host/check/SliceFile.h"

/**
 * Walks one slice file from its beginning, or a record in it, to its end and says what every byte
 * of it belongs to: a sound record, garbage up to the next sound record, or a torn tail. Torn is
 * what a writer or a power failure leaves of a last record: its beginning, zeros, or both. Any
 * other bytes behind the last record are garbage.
 *
 * The file is never in memory as a whole.
 *
 * Owns: the open file.
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 * Errors: what cannot be read ends the walk as Unreadable; file().error() says why.
 */
class SliceScanner {
 public:
  enum Item { Record, Garbage, TornTail, Unreadable, End };
  struct Range {
    uint64_t begin = 0;
    uint64_t end = 0;

    [[nodiscard]] uint64_t size() const { return end - begin; }
  };

  /** from: where a record begins, bytes. */
  explicit SliceScanner(const std::string& path, uint64_t from = 0)
      : file_(path, SliceFile::Walk), position_(from) {}

  /** Goes on to the next item. After Unreadable comes End. */
  [[nodiscard]] Item next();
  /** After Record. */
  [[nodiscard]] const SliceRecord& record() const { return record_; }
  /** The bytes of the item, whatever it is. */
  [[nodiscard]] Range range() const { return range_; }
  [[nodiscard]] SliceFile& file() { return file_; }

 private:
  [[nodiscard]] bool readTo(uint64_t end);
  [[nodiscard]] bool swallowsAnother(const SliceRecord& record);
  [[nodiscard]] uint64_t findRecord(uint64_t from, uint64_t end);
  [[nodiscard]] bool isTorn();
  [[nodiscard]] uint64_t endOfContent();

  SliceFile file_;
  uint64_t position_ = 0;
  SliceRecord record_;
  Range range_;
};

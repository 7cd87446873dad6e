#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/check/CheckSubject.h"
#include "host/check/Finding.h"
#include "host/check/SliceFile.h"
#include "host/play/StampUnwrapper.h"

/**
 * Holds the index rows of a session against the places that they point at, slice by slice: a frame
 * must begin there with which playback can begin, and its stamp must be the row's time.
 *
 * A row that a recording writes in the moment of a slice change bears the number of the new slice
 * with the offset of the last record of the old one. Such rows are as they should be.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 */
class RowCheck {
 public:
  using Add = std::function<void(Finding)>;
  using Rows = std::vector<RecorderTables::IndexRow>;

  /** start: the time of the session's first frame, seconds. */
  RowCheck(const CheckSubject& subject, long start, Add add);

  /**
   * The rows of a slice, by offset; to be called in the order of the chain. Level Files looks at
   * rows behind the end only. frameTimes: the seconds of the frames that need a row, when known:
   * a wrong row of another time can only be removed.
   */
  void check(unsigned int slice, const Rows& rows, CheckLevel level,
             const std::set<long>* frameTimes);
  /** The last row, in the order of the files, that is as it should be; none at level Files. */
  [[nodiscard]] const std::optional<RecorderTables::IndexRow>& lastSound() const {
    return lastSound_;
  }

 private:
  using Row = RecorderTables::IndexRow;

  [[nodiscard]] std::optional<SliceRecord> target(const Row& row);
  [[nodiscard]] bool isOfSliceChange(const Row& row);
  [[nodiscard]] Finding::Kind flawOf(const Row& row);
  void checkTimes(const std::vector<std::pair<Row, uint32_t>>& sound);
  void report(Finding::Kind kind, const Row& row);
  void flush(unsigned int slice);

  const CheckSubject& subject_;
  Add add_;
  StampUnwrapper clock_;
  std::optional<SliceFile> file_;
  std::optional<SliceFile> before_;  // the slice in front, when it is there
  std::optional<unsigned int> last_;
  std::optional<Row> lastSound_;
  const std::set<long>* frameTimes_ = nullptr;
  std::vector<Finding> found_;
};

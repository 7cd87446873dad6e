#include "host/check/RowCheck.h"

#include <algorithm>
#include <filesystem>

namespace {

constexpr long DAY = 86400;

bool isTimeOf(uint32_t stampMs, long time) {
  return (time - static_cast<long>(stampMs / 1000)) % DAY == 0;
}

}  // namespace

RowCheck::RowCheck(const CheckSubject& subject, long start, Add add)
    : subject_(subject), add_(std::move(add)) {
  clock_.restart(start);
}

void RowCheck::check(unsigned int slice, const Rows& rows, CheckLevel level,
                     const std::set<long>* frameTimes) {
  const bool follows = last_ && (*last_ + 1) % SessionFiles::RING == slice;
  before_.reset();
  if (follows) before_.emplace(subject_.files->slicePath(*last_));
  file_.emplace(subject_.files->slicePath(slice));
  frameTimes_ = frameTimes;
  std::vector<std::pair<Row, uint32_t>> sound;
  for (const Row& row : rows) {
    const std::optional<SliceRecord> record = target(row);
    if (record && record->startsPlayback() && isTimeOf(record->stampMs, row.time)) {
      sound.emplace_back(row, record->stampMs);
    } else if (file_->error() == 0 && !isOfSliceChange(row)) {
      const Finding::Kind flaw = flawOf(row);
      const bool unflushed = flaw == Finding::RowBehindEnd && subject_.live;
      if (!unflushed && (level != CheckLevel::Files || flaw == Finding::RowBehindEnd)) {
        report(flaw, row);
      }
    }
  }
  if (level != CheckLevel::Files) checkTimes(sound);
  flush(slice);
  last_ = slice;
}

std::optional<SliceRecord> RowCheck::target(const Row& row) {
  return file_->recordAt(row.offset);
}

// Either the key frame that was flushed last into the old slice, or the first one of the new slice,
// which is given the place of the record before it. Where the old slice is gone only the time
// tells.
bool RowCheck::isOfSliceChange(const Row& row) {
  const std::optional<SliceRecord> first = file_->recordAt(0);
  if (before_) {
    const std::optional<SliceRecord> last = before_->recordAt(row.offset);
    if (!last || before_->recordAt(last->end())) return false;
    return isTimeOf(last->stampMs, row.time) ||
           (first && first->startsPlayback() && isTimeOf(first->stampMs, row.time));
  }
  if (last_ || row.slice == 0 || !first) return false;
  StampUnwrapper clock;
  clock.restart(row.time);
  return row.time <= clock.unwrap(first->stampMs) / 1000;
}

Finding::Kind RowCheck::flawOf(const Row& row) {
  const auto pointsInto = [&](SliceFile& file) {
    const std::optional<SliceRecord> record = file.recordAt(row.offset);
    return record && record->startsPlayback() && isTimeOf(record->stampMs, row.time);
  };
  if (before_ && pointsInto(*before_)) return Finding::RowInWrongSlice;
  const unsigned int next = (row.slice + 1) % SessionFiles::RING;
  if (subject_.files->slices.contains(next)) {
    SliceFile file(subject_.files->slicePath(next));
    if (pointsInto(file)) return Finding::RowInWrongSlice;
  }
  if (row.offset >= file_->size()) return Finding::RowBehindEnd;
  const std::optional<SliceRecord> record = target(row);
  return record && record->startsPlayback() ? Finding::RowWithWrongTime : Finding::RowAtNoRecord;
}

// The day of a frame follows from the frame before it. A clock that was put forward by a day while
// it was recorded is believed when what follows is not earlier.
void RowCheck::checkTimes(const std::vector<std::pair<Row, uint32_t>>& sound) {
  for (size_t i = 0; i < sound.size(); ++i) {
    const auto& [row, stampMs] = sound[i];
    const int64_t expected = clock_.unwrap(stampMs) / 1000;
    if (expected == row.time) {
      lastSound_ = row;
      continue;
    }
    const long next = i + 1 < sound.size() ? sound[i + 1].first.time : subject_.row->end;
    if (row.time > expected && next >= static_cast<long>(row.time)) {
      clock_.restart(row.time);
      lastSound_ = row;
    } else {
      report(Finding::RowWithWrongTime, row);
    }
  }
}

void RowCheck::report(Finding::Kind kind, const Row& row) {
  auto known = std::find_if(found_.begin(), found_.end(),
                            [&](const Finding& each) { return each.kind == kind; });
  if (known == found_.end()) {
    Finding finding;
    finding.kind = kind;
    finding.session = subject_.id;
    finding.offset = row.offset;
    finding.count = 0;
    known = found_.insert(found_.end(), finding);
  }
  ++known->count;
  if (frameTimes_ == nullptr || !frameTimes_->contains(row.time)) ++known->removes;
}

void RowCheck::flush(unsigned int slice) {
  for (Finding& each : found_) {
    each.slice = slice;
    add_(each);
  }
  found_.clear();
}

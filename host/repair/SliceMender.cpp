#include "host/repair/SliceMender.h"

#include <algorithm>
#include <vector>

#include "host/check/SessionFiles.h"
#include "host/check/SliceScanner.h"
#include "host/repair/DurableFile.h"

namespace {

using Range = SliceScanner::Range;

struct Survey {
  std::vector<Range> sound;  // neighbours put together
  std::vector<Range> garbage;
  uint64_t tornAt = 0;
  uint64_t tornBytes = 0;
  bool unreadable = false;
};

Survey surveyOf(const std::string& path) {
  Survey survey;
  SliceScanner scanner(path);
  for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
    const Range range = scanner.range();
    if (item == SliceScanner::Record && !survey.sound.empty() &&
        survey.sound.back().end == range.begin) {
      survey.sound.back().end = range.end;
    } else if (item == SliceScanner::Record) {
      survey.sound.push_back(range);
    } else if (item == SliceScanner::Garbage) {
      survey.garbage.push_back(range);
    } else if (item == SliceScanner::TornTail) {
      survey.tornAt = range.begin;
      survey.tornBytes = range.size();
    } else {
      survey.unreadable = true;
    }
  }
  return survey;
}

uint64_t copy(SliceFile& from, const std::vector<Range>& ranges, DurableFile& to) {
  uint64_t copied = 0;
  for (const Range& range : ranges) {
    for (uint64_t at = range.begin; at < range.end;) {
      const auto bytes = from.bytes(at);
      if (bytes.empty()) return copied;
      const auto part = bytes.first(std::min<uint64_t>(bytes.size(), range.end - at));
      to.write(part);
      at += part.size();
      copied += part.size();
    }
  }
  return copied;
}

std::string damagedPath(const std::string& path) {
  return path.substr(0, path.rfind('.')) + SessionFiles::DAMAGED;
}

}  // namespace

SliceMender::Result SliceMender::mend(const std::string& path) {
  const Survey survey = surveyOf(path);
  Result result;
  result.unreadable = survey.unreadable;
  if (survey.unreadable) return result;
  result.cutBytes = survey.tornBytes;
  if (survey.garbage.empty()) {
    if (survey.tornBytes != 0) DurableFile::truncate(path, survey.tornAt);
    return result;
  }
  SliceFile old(path, SliceFile::Walk);
  DurableFile damaged(damagedPath(path), DurableFile::Unique);
  result.movedBytes = copy(old, survey.garbage, damaged);
  damaged.finish();
  DurableFile mended(path + SessionFiles::UNFINISHED, DurableFile::Replace);
  copy(old, survey.sound, mended);
  mended.finish();
  result.unreadable = old.error() != 0;
  if (result.unreadable) return result;
  DurableFile::copyAttributes(path, mended.path());
  DurableFile::rename(mended.path(), path);
  return result;
}

#include "host/check/SessionCheck.h"

#include <algorithm>
#include <map>
#include <system_error>

#include "host/check/SessionStart.h"
#include "host/check/StoredAudioHeader.h"
#include "host/input/TimeText.h"

namespace {

constexpr long AUDIO_HEADER_LEAD = 60;  // seconds; hosts may send the header that long before
// Seconds. The table holds each start of a stream once: what begins in the same second as another
// session has a later start, even when that other one is gone.
constexpr long LATEST_START = 5;
constexpr unsigned int UNDECIDED = 2;

struct NeedyFrame {
  unsigned int slice = 0;
  uint64_t offset = 0;
  long second = 0;
  bool audio = false;
};

}  // namespace

struct SessionCheck::Footage {
  RowMaker maker;
  std::optional<NeedyFrame> held;           // the last one, when it has no row
  std::map<unsigned int, Finding> missing;  // by slice
  std::optional<long> firstNeedy;
  std::optional<long> lastNeedy;
  std::optional<long> last;  // latest frame
};

void SessionCheck::check(const CheckSubject& subject) {
  subject_ = &subject;
  if (!subject.row) return checkWithoutRow();
  if (!subject.hasContent()) return checkWithoutFootage();
  checkRow();
  checkAudioHeader();
  checkChain();
  const std::optional<long> indexed = tables_.firstTime(subject.id);
  // Without a row either the session is very short or its index is gone, which its frames tell.
  if (level_ == CheckLevel::Index && !indexed && !subject.live) level_ = CheckLevel::Full;
  const std::optional<long> start = SessionStart::of(*subject.files, {subject.row->start, indexed});
  if (start && level_ != CheckLevel::Files) checkStart(*start);
  checkSlices(start.value_or(subject.row->start));
}

void SessionCheck::add(Finding::Kind kind, const std::function<void(Finding&)>& fill) {
  Finding finding;
  finding.kind = kind;
  finding.session = subject_->id;
  if (fill) fill(finding);
  add_(finding);
}

void SessionCheck::checkWithoutRow() {
  const SessionFiles& files = *subject_->files;
  const bool isOfDamaged = files.damaged || (!files.audioHeader && !files.sidecar);
  if (subject_->live || (files.slices.empty() && files.leftovers.empty() && isOfDamaged)) return;
  const Finding::Kind kind = subject_->thrownAway ? Finding::ThrownAway
                             : files.hasContent() ? Finding::FilesWithoutRows
                                                  : Finding::Leftover;
  add(kind, [&](Finding& each) {
    each.count = std::max<uint64_t>(1, files.slices.size());
    each.bytes = files.bytes();
    each.detail = files.prefix;
  });
  if (level_ != CheckLevel::Full || subject_->thrownAway) return;
  SessionWalk walk(files, 0);
  for (const unsigned int slice : files.chain()) {
    checkDamage(slice, walk.walk(slice, [](const SessionWalk::Frame&) {}));
    progress_(files.slices.at(slice));
  }
}

// Of a session that has just begun nothing is on disk yet.
void SessionCheck::checkWithoutFootage() {
  const RecorderTables::Session& row = *subject_->row;
  if (subject_->live) return;
  const bool halfBorn = row.start == 0 && row.end == 0;
  if (row.available == 0 && !halfBorn) return;
  uint64_t rows = 0;
  for (const auto& [slice, count] : tables_.rowsBySlice(row.id)) rows += count;
  add(halfBorn ? Finding::HalfBorn : Finding::RowsWithoutFiles, [&](Finding& each) {
    each.count = 1 + rows;
    if (!halfBorn) each.detail = "began " + TimeText::format(row.start);
  });
}

void SessionCheck::checkRow() {
  const RecorderTables::Session& row = *subject_->row;
  if (!subject_->live) {
    if (row.start == 0 && row.end == 0) {
      add(Finding::HalfBorn);
    } else if (row.end == 0) {
      add(Finding::NoEndTime);
    }
    if (row.available == UNDECIDED) add(Finding::Unconfirmed);
  }
  if (row.available == 0) add(Finding::MarkedAsGone);
  if (!subject_->hasSettings) add(Finding::NoSettings);
  if (subject_->wrongDirectory) {
    add(Finding::WrongDirectory, [&](Finding& each) {
      each.detail = row.storage + " instead of " + subject_->files->directory();
    });
  }
  for (const std::string& path : subject_->files->leftovers) {
    if (subject_->live) break;
    add(Finding::Leftover, [&](Finding& each) { each.detail = path; });
  }
}

void SessionCheck::checkAudioHeader() {
  if (!subject_->audio || subject_->live) return;
  if (!subject_->files->audioHeader) {
    add(Finding::NoAudioHeader);
  } else if (level_ != CheckLevel::Files &&
             !StoredAudioHeader::read(subject_->files->audioHeaderPath())) {
    add(Finding::DamagedAudioHeader);
  }
}

void SessionCheck::checkChain() {
  const SessionFiles& files = *subject_->files;
  for (const unsigned int slice : files.gaps()) {
    add(Finding::MissingSlice, [&](Finding& each) { each.slice = slice; });
  }
  for (const auto& [slice, count] : tables_.rowsBySlice(subject_->id)) {
    const bool unflushed = subject_->live && !files.slices.empty();
    if (files.slices.contains(slice) || unflushed) continue;
    add(Finding::RowInMissingSlice, [number = slice, rows = count](Finding& each) {
      each.slice = number;
      each.count = rows;
      each.removes = rows;
    });
  }
}

void SessionCheck::checkSlices(long start) {
  const SessionFiles& files = *subject_->files;
  RowCheck rowCheck(*subject_, start, [this](const Finding& finding) { add_(finding); });
  SessionWalk walk(files, start);
  Footage footage;
  for (const unsigned int slice : files.chain()) {
    const uint64_t behindEnd = level_ == CheckLevel::Files ? files.slices.at(slice) : 0;
    const RowCheck::Rows rows = tables_.rows(subject_->id, slice, behindEnd);
    std::set<long> times;
    if (level_ == CheckLevel::Full) times = checkFrames(slice, rows, walk, footage);
    rowCheck.check(slice, rows, level_, level_ == CheckLevel::Full ? &times : nullptr);
    progress_(files.slices.at(slice));
  }
  // The row of the last key frame is never written, and those of a live session not yet.
  if (footage.held && footage.held->audio && !subject_->live) reportMissingRow(footage);
  for (const auto& [slice, finding] : footage.missing) add_(finding);
  if (level_ == CheckLevel::Index && rowCheck.lastSound()) {
    footage.last = latestFrom(*rowCheck.lastSound());
  }
  if (level_ != CheckLevel::Files) checkEnd(footage);
}

// Little lies behind the last row, so that the end is known without reading all that is before.
std::optional<long> SessionCheck::latestFrom(const RecorderTables::IndexRow& row) {
  if (subject_->live) return std::nullopt;
  std::optional<long> latest = tables_.lastTime(subject_->id);
  const std::vector<unsigned int> chain = subject_->files->chain();
  SessionWalk walk(*subject_->files, row.time);
  for (auto slice = std::find(chain.begin(), chain.end(), row.slice); slice != chain.end();
       ++slice) {
    const auto take = [&](const SessionWalk::Frame& frame) {
      if (!frame.strayStamp) latest = std::max(latest.value_or(0), frame.seconds());
    };
    if (walk.walk(*slice, take, *slice == row.slice ? row.offset : 0).error != 0) {
      return std::nullopt;
    }
  }
  return latest;
}

std::set<long> SessionCheck::checkFrames(unsigned int slice, const RowCheck::Rows& rows,
                                         SessionWalk& walk, Footage& footage) {
  std::set<uint64_t> indexed;
  for (const RecorderTables::IndexRow& row : rows) indexed.insert(row.offset);
  std::vector<NeedyFrame> needy;
  const auto walked = walk.walk(slice, [&](const SessionWalk::Frame& frame) {
    if (!frame.strayStamp) footage.last = std::max(footage.last.value_or(0), frame.seconds());
    if (!footage.maker.needsRow(frame, indexed.contains(frame.record.offset))) return;
    needy.push_back(
        {slice, frame.record.offset, frame.seconds(), frame.record.kind == KTRFrameFormat::Audio});
  });
  checkDamage(slice, walked);
  std::set<long> seconds;
  for (const NeedyFrame& frame : needy) seconds.insert(frame.second);
  if (needy.empty()) return seconds;
  const std::set<long> known = tables_.times(subject_->id, *seconds.begin(), *seconds.rbegin());
  for (const NeedyFrame& frame : needy) {
    reportMissingRow(footage);
    const bool shared = !footage.firstNeedy && subject_->sharedSecond == frame.second;
    if (!footage.firstNeedy) footage.firstNeedy = frame.second;
    footage.lastNeedy = std::max(footage.lastNeedy.value_or(0), frame.second);
    if (!shared && !known.contains(frame.second)) footage.held = frame;
  }
  return seconds;
}

void SessionCheck::reportMissingRow(Footage& footage) {
  if (!footage.held) return;
  Finding& finding = footage.missing[footage.held->slice];
  if (finding.session == 0) {
    finding.kind = Finding::FrameWithoutRow;
    finding.session = subject_->id;
    finding.slice = footage.held->slice;
    finding.offset = footage.held->offset;
    finding.count = 0;
  }
  ++finding.count;
  footage.held.reset();
}

void SessionCheck::checkDamage(unsigned int slice, const SessionWalk::Slice& walked) {
  std::map<Finding::Kind, Finding> found;
  for (const SessionWalk::Damage& damage : walked.damages) {
    const Finding::Kind kind = damage.what == SliceScanner::TornTail     ? Finding::TornTail
                               : damage.what == SliceScanner::Unreadable ? Finding::Unreadable
                                                                         : Finding::Garbage;
    const bool atEnd = damage.range.end == walked.size;
    if (subject_->live && atEnd && kind != Finding::Unreadable) continue;
    Finding& finding = found[kind];
    finding.count = finding.session == 0 ? 1 : finding.count + 1;
    if (finding.session == 0) finding.offset = damage.range.begin;
    finding.session = subject_->id;
    finding.kind = kind;
    finding.slice = slice;
    finding.bytes += damage.range.size();
    if (kind == Finding::Unreadable) finding.detail = std::generic_category().message(walked.error);
  }
  for (const auto& [kind, finding] : found) add_(finding);
}

void SessionCheck::checkStart(long start) {
  const long rowStart = subject_->row->start;
  if (subject_->live || (rowStart == 0 && subject_->row->end == 0)) return;
  const long lead = subject_->audio ? AUDIO_HEADER_LEAD : 0;
  if (rowStart - start <= LATEST_START && start - rowStart <= lead) return;
  const bool isShortened = subject_->files->chain().front() != 0;
  if (isShortened && tables_.firstTime(subject_->id) == rowStart) return;
  add(Finding::WrongStart, [&](Finding& each) {
    each.detail = TimeText::format(rowStart) + " instead of " + TimeText::format(start);
  });
}

// A recording that was killed has written its end some seconds before its last frames.
void SessionCheck::checkEnd(const Footage& footage) {
  const long rowEnd = subject_->row->end;
  if (subject_->live || rowEnd == 0) return;
  const std::optional<long> least =
      level_ == CheckLevel::Full ? footage.lastNeedy : tables_.lastTime(subject_->id);
  const bool early = least && rowEnd < *least;
  const bool late = footage.last && rowEnd > *footage.last;
  if (!early && !late) return;
  add(Finding::WrongEnd, [&](Finding& each) {
    each.detail = TimeText::format(rowEnd) + " instead of " +
                  TimeText::format(late ? *footage.last : footage.last.value_or(*least));
  });
}

#include "host/repair/SessionMender.h"

#include <algorithm>
#include <filesystem>

#include "host/HostError.h"
#include "host/check/SessionStart.h"
#include "host/repair/AudioHeaderFinder.h"
#include "host/repair/DurableFile.h"
#include "host/repair/SliceMender.h"

namespace {

constexpr unsigned int HAS_DATA = 1;
constexpr int ATTEMPTS = 3;             // when the connection is lost
constexpr long AUDIO_HEADER_LEAD = 60;  // seconds that the header of sound may come before it

}  // namespace

bool SessionMender::has(Finding::Kind kind) const {
  return std::any_of(work_->findings.begin(), work_->findings.end(),
                     [&](const Finding& each) { return each.kind == kind; });
}

void SessionMender::mend(const Work& work) {
  work_ = &work;
  files_ = work.subject->files == nullptr ? SessionFiles() : *work.subject->files;
  if (has(Finding::Unreadable)) {
    throw failure("session " + std::to_string(work.subject->id) + " has slices that cannot be read",
                  "look at the disk, copy what can be copied, and repair again");
  }
  for (const std::string& path : files_.leftovers) DurableFile::remove(path);
  if (work.subject->thrownAway) return removeSession();
  mendSlices();                                      // step P6
  if (!files_.hasContent()) return removeSession();  // step P9
  fillGaps();
  mendAudioHeader();  // step P7
  mendRows();         // step P8
}

void SessionMender::mendSlices() {
  for (const Finding& finding : work_->findings) {
    if (finding.kind != Finding::TornTail && finding.kind != Finding::Garbage) continue;
    const std::string path = files_.slicePath(*finding.slice);
    const SliceMender::Result mended = SliceMender::mend(path);
    if (mended.unreadable) {
      throw failure("cannot read " + path, "look at the disk, and repair again");
    }
    files_.damaged = files_.damaged || mended.movedBytes != 0;
    files_.slices[*finding.slice] = std::filesystem::file_size(path);
  }
}

void SessionMender::fillGaps() {
  for (const unsigned int slice : files_.gaps()) {
    DurableFile::touch(files_.slicePath(slice));
    files_.slices[slice] = 0;
  }
}

void SessionMender::mendAudioHeader() {
  if (!has(Finding::NoAudioHeader) && !has(Finding::DamagedAudioHeader)) return;
  const KTDataBlock header =
      AudioHeaderFinder::find(files_, work_->identity.settings.text, work_->alikeHeaders);
  if (header.size == 0) return;
  DurableFile file(files_.audioHeaderPath() + SessionFiles::UNFINISHED, DurableFile::Replace);
  file.write({header.data, header.size});
  file.finish();
  DurableFile::rename(file.path(), files_.audioHeaderPath());
}

// Nothing of it can be played: no slice holds a byte. What was moved out of its slices stays, with
// what tells how to read it.
void SessionMender::removeSession() {
  writer_.removeSession(work_->subject->id);
  for (const auto& [slice, bytes] : files_.slices) DurableFile::remove(files_.slicePath(slice));
  if (files_.damaged) return;
  if (files_.audioHeader) DurableFile::remove(files_.audioHeaderPath());
  if (files_.sidecar) DurableFile::remove(files_.sidecarPath());
}

RecorderTables::Session SessionMender::rowToBegin() {
  if (work_->subject->row) return *work_->subject->row;
  RecorderTables::Session row;
  row.id = work_->subject->id;
  row.stream = *work_->identity.stream;
  row.start = work_->identity.start;
  row.type = work_->identity.settings.type;
  row.fps = work_->identity.fps;
  return row;
}

void SessionMender::mendRows() {
  if (!work_->subject->row && !work_->identity.stream) {
    throw failure(
        "session " + std::to_string(work_->subject->id) + " has no frame that tells when it was",
        "repair again; if that does not help, move its files away");
  }
  RecorderTables::Session row = rowToBegin();
  const std::optional<long> start =
      work_->subject->row ? SessionStart::of(files_, {row.start, tables_.firstTime(row.id)})
                          : work_->identity.start;
  if (!start) return;
  const bool newSettings = !work_->subject->row || has(Finding::NoSettings);
  if (newSettings) row.settings = writer_.settingsId(work_->identity.settings);
  for (int attempt = 1;; ++attempt) {
    try {
      return writeRows(row, *start);
    } catch (const HostError&) {
      if (!writer_.abandon() || attempt == ATTEMPTS) throw;
    }
  }
}

void SessionMender::writeRows(RecorderTables::Session row, long start) {
  writer_.begin();
  writer_.removeIndex(row.id);
  const Footage footage =
      Footage::read(files_, start, row.fps,
                    [&](const TableWriter::IndexRow& each) { writer_.addRow(row.id, each); });
  correct(row, footage);
  if (work_->subject->row) {
    writer_.updateSession(row);
  } else {
    writer_.addSession(row);
  }
  writer_.commit();
}

void SessionMender::correct(RecorderTables::Session& row, const Footage& footage) {
  const long lead = footage.first - row.start;
  if (row.start == 0 || lead < 0 || lead > (footage.sound ? AUDIO_HEADER_LEAD : 0)) {
    row.start = footage.first;
  }
  const bool isNew = !work_->subject->row || work_->subject->row->start != row.start;
  while (isNew && tables_.isStartTaken(row)) ++row.start;  // as a recording does it
  if (row.end < footage.lastRow || row.end > footage.last) row.end = footage.last;
  row.available = HAS_DATA;
  if (!work_->subject->row || work_->subject->wrongDirectory) row.storage = files_.directory();
}

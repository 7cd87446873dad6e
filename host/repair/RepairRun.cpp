#include "host/repair/RepairRun.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/byevents/WindowTable.h"
#include "host/check/SessionStart.h"
#include "host/record/SessionIdFloor.h"
#include "host/repair/SessionIdMove.h"

namespace {

using Work = SessionMender::Work;

bool isOfIds(const Finding& finding) {
  return finding.kind == Finding::TwoSessionsOneId;
}

HostError stopped() {
  return failure("the repair was stopped", "run it again");
}

std::map<unsigned int, std::vector<std::string>> headersBySettings(
    const std::vector<CheckSubject>& subjects) {
  std::map<unsigned int, std::vector<std::string>> found;
  for (const CheckSubject& subject : subjects) {
    if (!subject.row || subject.files == nullptr || !subject.files->audioHeader) continue;
    found[subject.row->settings].push_back(subject.files->audioHeaderPath());
  }
  return found;
}

bool isUnknown(const Work& work) {
  const CheckSubject& subject = *work.subject;
  return subject.hasContent() && !subject.thrownAway && (!subject.row || !subject.hasSettings);
}

}  // namespace

CheckRun::Result RepairRun::survey(KTR_DB_handle* handle) {
  options_.check.level = CheckLevel::Full;
  options_.check.recording = false;
  due_.clear();
  CheckRun::Options check = options_.check;
  check.report = [&](const Finding& finding) {
    due_[finding.session].push_back(finding);
    if (std::find(findings_.begin(), findings_.end(), finding) != findings_.end()) return;
    findings_.push_back(finding);
    options_.check.report(finding);
  };
  CheckRun run(handle, check);
  const CheckRun::Result found = run.run();
  countRemovals(run, found);
  return found;
}

// Of two sessions with one id the second is looked at when it has an id of its own.
void RepairRun::countRemovals(CheckRun& run, const CheckRun::Result& found) {
  removals_ = Removals();
  removals_.allRows = found.indexRows;
  removals_.allFiles = found.files;
  for (const CheckSubject& subject : run.subjects()) {
    ++removals_.allSessions;
    const auto due = due_.find(subject.id);
    if (due == due_.end()) continue;
    std::vector<Finding> own = due->second;
    std::erase_if(own, isOfIds);
    removals_.add(subject, own, run.tables());
  }
  for (const Finding& finding : findings_) {
    if (finding.kind == Finding::IndexWithoutSession) removals_.rows += finding.removes;
  }
}

std::optional<HostError> RepairRun::refusal() const {
  if (options_.removesMost || !removals_.areTooMany()) return std::nullopt;
  return failure("this would remove more than half: " + removals_.text(),
                 "a disk that is not mounted looks like this; look at --dry-run, and give "
                 "--yes-really to do it");
}

void RepairRun::guard() const {
  if (const std::optional<HostError> error = refusal()) throw HostError(*error);
}

RepairRun::Result RepairRun::mend(KTR_DB_handle& handle) {
  result_ = Result();
  guard();
  TableWriter writer(handle);
  writer.makeIndexTable();  // step P4
  (void)SessionIdFloor::raise(handle, options_.check.directory);
  if (separateIds(handle)) {  // step P5
    if (survey(&handle).stopped) throw stopped();
    guard();
  }
  mendSessions(handle);  // each by the steps of SessionMender
  for (const Finding& finding : findings_) {
    if (finding.kind == Finding::IndexWithoutSession) writer.removeIndex(finding.session);
  }                                                     // step P10
  if (result_.problems.empty()) writer.clearWindows();  // step P11
  checkAgain(handle);
  return result_;
}

bool RepairRun::separateIds(KTR_DB_handle& handle) {
  bool moved = false;
  for (const Finding& finding : findings_) {
    if (!isOfIds(finding)) continue;
    WindowTable(handle).unlist(finding.session);  // nobody knows which of the two it was
    CheckRun run(&handle, options_.check);        // what was moved before is known to it
    (void)run.subjects();
    for (const SessionFiles& files : run.disk().sessions().at(finding.session)) {
      if (files.prefix != finding.detail) continue;
      const unsigned int next = std::max(run.disk().highestId(), run.tables().highestId()) + 1;
      SessionIdMove::move(files, run.disk(), next);
      moved = true;
    }
  }
  if (moved) (void)SessionIdFloor::raise(handle, options_.check.directory);
  return moved;
}

std::vector<Work> RepairRun::workOf(const std::vector<CheckSubject>& subjects) {
  std::vector<Work> works;
  for (const CheckSubject& subject : subjects) {
    const auto found = due_.find(subject.id);
    if (found == due_.end() && (subject.row || !subject.hasContent())) continue;
    Work work;
    work.subject = &subject;
    if (found != due_.end()) work.findings = found->second;
    works.push_back(std::move(work));
  }
  return works;
}

// Pictures before sound and the oldest first, so that each finds the streams that it belongs to.
void RepairRun::identify(std::vector<Work>& works, const std::vector<CheckSubject>& subjects,
                         RecorderTables& tables) const {
  const std::map<unsigned int, RecorderTables::Settings> settings = tables.settings();
  const auto headers = headersBySettings(subjects);
  StreamNumbers streams(options_.stream);
  for (const CheckSubject& subject : subjects) {
    const auto known = subject.row ? settings.find(subject.row->settings) : settings.end();
    if (known == settings.end()) continue;
    streams.add({subject.row->stream, known->second, subject.row->fps, subject.row->start,
                 subject.row->end});
  }
  std::vector<Work*> unknown;
  for (Work& work : works) {
    if (work.subject->row) {
      const auto known = settings.find(work.subject->row->settings);
      if (known != settings.end()) work.identity.settings = known->second;
      const auto alike = headers.find(work.subject->row->settings);
      if (alike != headers.end()) work.alikeHeaders = alike->second;
    }
    if (!isUnknown(work)) continue;
    const long rowStart = work.subject->row ? work.subject->row->start : 0;
    const auto start =
        SessionStart::of(*work.subject->files, {rowStart, tables.firstTime(work.subject->id)});
    if (!start) continue;
    work.identity = SessionIdentity::of(*work.subject->files, *start);
    if (work.subject->row) {
      work.identity.stream = work.subject->row->stream;
    }
    unknown.push_back(&work);
  }
  std::sort(unknown.begin(), unknown.end(), [](const Work* a, const Work* b) {
    return std::pair(a->identity.isSound(), a->identity.start) <
           std::pair(b->identity.isSound(), b->identity.start);
  });
  for (Work* work : unknown) work->identity.stream = streams.find(work->identity);
}

void RepairRun::mendSessions(KTR_DB_handle& handle) {
  CheckRun run(&handle, options_.check);
  const std::vector<CheckSubject> subjects = run.subjects();
  std::vector<Work> works = workOf(subjects);
  identify(works, subjects, run.tables());
  for (Work& work : works) {
    if (options_.check.stop()) throw stopped();
    mended_.insert(work.subject->id);
    mendSession(handle, work);
  }
}

void RepairRun::mendSession(KTR_DB_handle& handle, Work& work) {
  try {
    SessionMender(handle).mend(work);
  } catch (const HostError& error) {
    result_.problems.emplace_back(error.what());
  }
}

void RepairRun::checkAgain(KTR_DB_handle& handle) {
  CheckRun::Options check = options_.check;
  check.sessions = mended_;
  check.report = [&](const Finding& finding) { result_.left.push_back(finding); };
  CheckRun(&handle, check).run();
}

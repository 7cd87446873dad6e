#include "host/repair/RepairRun.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/check/SessionStart.h"
#include "host/record/SessionIdFloor.h"
#include "host/repair/SessionIdMove.h"

namespace {

using Work = SessionMender::Work;

constexpr const char* OF = " of ";

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
  return subject.hasContent() && (!subject.row || !subject.hasSettings);
}

}  // namespace

std::string RepairRun::Removals::text() const {
  return std::to_string(sessions) + OF + std::to_string(allSessions) + " sessions, " +
         std::to_string(rows) + OF + std::to_string(allRows) + " index rows, " +
         std::to_string(files) + OF + std::to_string(allFiles) + " files";
}

CheckRun::Result RepairRun::survey(KTR_DB_handle* handle) {
  options_.check.level = CheckLevel::Full;
  options_.check.recording = false;
  findings_.clear();
  CheckRun::Options check = options_.check;
  check.report = [&](const Finding& finding) {
    findings_.push_back(finding);
    options_.check.report(finding);
  };
  CheckRun run(handle, check);
  const CheckRun::Result found = run.run();
  countRemovals(found, run.tables().sessions().size());
  return found;
}

void RepairRun::countRemovals(const CheckRun::Result& found, uint64_t sessions) {
  removals_ = Removals();
  removals_.allSessions = sessions;
  removals_.allRows = found.indexRows;
  removals_.allFiles = found.files;
  for (const Finding& finding : findings_) {
    if (finding.removes == 0) continue;
    if (finding.kind == Finding::Leftover) {
      removals_.files += finding.removes;
    } else if (finding.kind == Finding::HalfBorn || finding.kind == Finding::RowsWithoutFiles) {
      ++removals_.sessions;
      removals_.rows += finding.removes - 1;
    } else {
      removals_.rows += finding.removes;
    }
  }
}

RepairRun::Result RepairRun::mend(KTR_DB_handle& handle) {
  result_ = Result();
  TableWriter writer(handle);
  writer.makeIndexTable();  // step P4
  (void)SessionIdFloor::raise(handle, options_.check.directory);
  separateIds(handle);   // step P5
  mendSessions(handle);  // each by the steps of SessionMender
  for (const Finding& finding : findings_) {
    if (finding.kind == Finding::IndexWithoutSession) writer.removeIndex(finding.session);
  }  // step P10
  checkAgain(handle);
  return result_;
}

void RepairRun::separateIds(KTR_DB_handle& handle) {
  const auto isOfIds = [](const Finding& each) { return each.kind == Finding::TwoSessionsOneId; };
  for (const Finding& finding : findings_) {
    if (!isOfIds(finding)) continue;
    CheckRun run(&handle, options_.check);  // what was moved before is known to it
    (void)run.subjects();
    for (const SessionFiles& files : run.disk().sessions().at(finding.session)) {
      if (files.prefix != finding.detail) continue;
      const unsigned int next = std::max(run.disk().highestId(), run.tables().highestId()) + 1;
      SessionIdMove::move(files, run.disk(), next);
    }
  }
  if (std::any_of(findings_.begin(), findings_.end(), isOfIds)) {
    (void)SessionIdFloor::raise(handle, options_.check.directory);
  }
}

std::vector<Work> RepairRun::workOf(const std::vector<CheckSubject>& subjects) {
  std::map<unsigned int, std::vector<Finding>> bySession;
  for (const Finding& finding : findings_) {
    if (finding.kind != Finding::TwoSessionsOneId) bySession[finding.session].push_back(finding);
  }
  std::vector<Work> works;
  for (const CheckSubject& subject : subjects) {
    const auto found = bySession.find(subject.id);
    if (found == bySession.end() && (subject.row || !subject.hasContent())) continue;
    Work work;
    work.subject = &subject;
    if (found != bySession.end()) work.findings = found->second;
    works.push_back(std::move(work));
  }
  return works;
}

// Pictures before sound and the oldest first, so that each finds the streams that it belongs to.
void RepairRun::identify(std::vector<Work>& works, const std::vector<CheckSubject>& subjects,
                         RecorderTables& tables) {
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
    if (options_.check.stop()) throw failure("the repair was stopped", "run it again");
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

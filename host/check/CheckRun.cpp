#include "host/check/CheckRun.h"

#include <algorithm>
#include <numeric>

#include "db/streamTypes.h"
#include "host/check/SessionCheck.h"
#include "runtime/KTTimeValue.h"

namespace {

/** A session that has ended is written to for the last time within this time. */
constexpr long LIVE_SECONDS = 60;

}  // namespace

CheckRun::CheckRun(KTR_DB_handle* handle, Options options)
    : handle_(handle),
      options_(std::move(options)),
      tables_(handle),
      disk_(options_.directory, options_.database) {}

std::vector<CheckSubject> CheckRun::subjects() {
  const std::vector<RecorderTables::Session> rows = tables_.sessions();
  settings_ = tables_.settings();
  noteNewest(rows);
  std::map<unsigned int, CheckSubject> found;
  for (const RecorderTables::Session& row : rows) disk_.addDirectory(row.storage);
  for (const RecorderTables::Session& row : rows) found[row.id] = subjectOf(row);
  const std::set<unsigned int> windows = tables_.windows();
  for (const auto& [id, places] : disk_.sessions()) {
    CheckSubject& subject = found[id];
    if (subject.row) continue;
    subject.id = id;
    subject.files = &places.front();
    subject.live = options_.recording && id > highest_;
    // Which of two directories the window was in nobody knows.
    subject.thrownAway = windows.contains(id) && places.size() == 1;
  }
  std::vector<CheckSubject> subjects;
  if (options_.sessions) {
    std::erase_if(found,
                  [&](const auto& each) { return !options_.sessions->contains(each.first); });
  }
  subjects.reserve(found.size());
  for (auto& [id, subject] : found) subjects.push_back(std::move(subject));
  return subjects;
}

void CheckRun::noteNewest(const std::vector<RecorderTables::Session>& rows) {
  std::map<unsigned int, unsigned int> newest;
  for (const RecorderTables::Session& row : rows) {
    newest[row.stream] = row.id;  // rows come by id
    ends_[{row.stream, row.end}] = row.id;
    highest_ = std::max(highest_, row.id);
  }
  for (const auto& [stream, id] : newest) newest_.insert(id);
}

bool CheckRun::isLive(const RecorderTables::Session& row) const {
  if (!options_.recording) return false;
  const long recent = KTTimeValue::now().tv_sec - LIVE_SECONDS;
  return newest_.contains(row.id) || row.start == 0 || row.end == 0 || row.end >= recent ||
         row.updated >= recent;
}

CheckSubject CheckRun::subjectOf(const RecorderTables::Session& row) {
  CheckSubject subject;
  subject.id = row.id;
  subject.row = row;
  subject.files = disk_.find(row.id, row.storage);
  subject.live = isLive(row);
  const auto settings = settings_.find(row.settings);
  subject.hasSettings = settings != settings_.end();
  subject.audio = row.type == STREAM_AUDIO;
  subject.wrongDirectory =
      subject.files != nullptr && subject.files->directory() != DiskCatalog::normal(row.storage);
  const auto before = ends_.find({row.stream, row.start});
  if (before != ends_.end() && before->second < row.id) subject.sharedSecond = row.start;
  return subject;
}

CheckRun::Result CheckRun::run() {
  const std::vector<CheckSubject> all = subjects();
  for (const CheckSubject& subject : all) {
    if (subject.files != nullptr) result_.bytes += subject.files->bytes();
  }
  result_.files = disk_.files();
  result_.indexRows = tables_.indexRows();
  checkWhole(all);
  for (const CheckSubject& subject : all) {
    if (options_.stop()) {
      result_.stopped = true;
      break;
    }
    std::vector<Finding> findings = findingsOf(subject);
    if (options_.recording) confirm(subject, findings);
    for (const Finding& finding : findings) report(finding);
    ++result_.sessions;
  }
  return result_;
}

void CheckRun::checkWhole(const std::vector<CheckSubject>& all) {
  if (!tables_.exist() && disk_.files() != 0) {
    Finding finding;
    finding.kind = Finding::NoDatabase;
    finding.detail = std::to_string(disk_.sessions().size()) + " sessions";
    report(finding);
  }
  for (const CheckSubject& subject : all) {
    if (subject.files == nullptr) continue;
    for (const SessionFiles& place : disk_.sessions().at(subject.id)) {
      if (&place == subject.files) continue;
      Finding finding;
      finding.kind = Finding::TwoSessionsOneId;
      finding.session = subject.id;
      finding.count = place.slices.size();
      finding.detail = place.prefix;
      report(finding);
    }
  }
  for (const auto& [id, count] : tables_.rowsWithoutSession()) {
    const bool unborn = options_.recording && id > highest_;
    if (unborn || disk_.sessions().contains(id)) continue;
    Finding finding;
    finding.kind = Finding::IndexWithoutSession;
    finding.session = id;
    finding.count = count;
    finding.removes = count;
    report(finding);
  }
}

std::vector<Finding> CheckRun::findingsOf(const CheckSubject& subject) {
  std::vector<Finding> findings;
  SessionCheck check(
      tables_, options_.level, [&](const Finding& finding) { findings.push_back(finding); },
      [&](uint64_t bytes) { options_.progress(done_ += bytes, result_.bytes); });
  check.check(subject);
  return findings;
}

// Only what is found twice is there; rows and files are read anew for the second time. A start that
// a deletion is about to move is another one by then.
void CheckRun::confirm(const CheckSubject& subject, std::vector<Finding>& findings) {
  if (findings.empty()) return;
  Options options = options_;
  options.progress = [](uint64_t, uint64_t) {};
  CheckRun again(handle_, std::move(options));
  std::vector<Finding> second;
  for (const CheckSubject& each : again.subjects()) {
    if (each.id == subject.id) second = again.findingsOf(each);
  }
  std::erase_if(findings, [&](const Finding& finding) {
    return std::none_of(second.begin(), second.end(), [&](const Finding& each) {
      return each.kind == finding.kind && each.slice == finding.slice &&
             (each.kind != Finding::WrongStart || each.detail == finding.detail);
    });
  });
}

void CheckRun::report(const Finding& finding) {
  ++result_.findings;
  options_.report(finding);
}

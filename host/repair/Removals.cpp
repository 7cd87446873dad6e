#include "host/repair/Removals.h"

#include <map>

namespace {

constexpr const char* OF = " of ";

/** What of a session's slices is no sound record. */
struct Damage {
  std::map<unsigned int, uint64_t> bytes;  // by slice
  bool garbage = false;
  bool unreadable = false;

  explicit Damage(const std::vector<Finding>& findings) {
    for (const Finding& each : findings) {
      garbage = garbage || each.kind == Finding::Garbage;
      unreadable = unreadable || each.kind == Finding::Unreadable;
      if (each.kind == Finding::Garbage || each.kind == Finding::TornTail) {
        bytes[*each.slice] += each.bytes;
      }
    }
  }
  [[nodiscard]] uint64_t slicesIn(const SessionFiles& files) const {
    uint64_t count = 0;
    for (const auto& [slice, damaged] : bytes) {
      if (damaged == files.slices.at(slice)) ++count;
    }
    return count;
  }
  [[nodiscard]] bool isAllOf(const SessionFiles& files) const {
    uint64_t sum = 0;
    for (const auto& [slice, damaged] : bytes) sum += damaged;
    return sum == files.bytes();
  }
};

}  // namespace

std::string Removals::text() const {
  return std::to_string(sessions) + OF + std::to_string(allSessions) + " sessions, " +
         std::to_string(rows) + OF + std::to_string(allRows) + " index rows, " +
         std::to_string(files) + OF + std::to_string(allFiles) + " files";
}

void Removals::add(const CheckSubject& subject, const std::vector<Finding>& findings,
                   RecorderTables& tables) {
  const Damage damage(findings);
  if (findings.empty() || damage.unreadable) return;  // it is left alone
  if (subject.files == nullptr || subject.thrownAway || damage.isAllOf(*subject.files)) {
    return addSession(subject, damage.garbage, tables);
  }
  files += damage.slicesIn(*subject.files);
  for (const Finding& finding : findings) rows += finding.removes;
}

void Removals::addSession(const CheckSubject& subject, bool leavesDamaged, RecorderTables& tables) {
  ++sessions;
  for (const auto& [slice, count] : tables.rowsBySlice(subject.id)) rows += count;
  if (subject.files == nullptr) return;
  files += subject.files->slices.size();
  if (leavesDamaged || subject.files->damaged) return;
  files += (subject.files->audioHeader ? 1 : 0) + (subject.files->sidecar ? 1 : 0);
}

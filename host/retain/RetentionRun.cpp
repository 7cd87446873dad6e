#include "host/retain/RetentionRun.h"

#include <algorithm>

#include "handles/KTRRemovalGuard.h"
#include "host/ByteText.h"
#include "host/HostError.h"
#include "host/SessionCatalog.h"
#include "host/input/DurationText.h"
#include "host/media/SteadyClock.h"
#include "host/retain/EmptyDays.h"
#include "runtime/KTLogger.h"

std::string RetentionRun::Deletion::line() const {
  return "deleted " + piece.text() + ": " + ByteText::format(piece.bytes) + ": " + reason;
}

RetentionRun::RetentionRun(KTR_DB_handle& handle, Options options)
    : handle_(handle), options_(std::move(options)) {
  handle_.setStorageRoot(KTString(options_.directory));
}

RetentionRun::Result RetentionRun::pass(bool recording) {
  result_ = Result();
  candidates_.clear();
  now_ = SteadyClock::wall().tv_sec;
  const FileSystemSpace space = options_.space(options_.directory);
  needed_ = bytesToFree(space);
  if (!isDue()) return result_;
  load(recording);
  deletePieces(space);
  tidy();
  return result_;
}

uint64_t RetentionRun::bytesToFree(const FileSystemSpace& space) const {
  const uint64_t floor = options_.policy.minFree.bytesOf(space.whole);
  if (floor != 0 && floor >= space.whole) {
    throw failure(ByteText::format(floor) + " cannot stay free on a file system of " +
                      ByteText::format(space.whole),
                  "give less with --min-free");
  }
  return floor > space.free ? floor - space.free : 0;
}

// Reading all rows and the sizes of all files is spared while nothing can have to go.
bool RetentionRun::isDue() const {
  if (needed_ != 0 || options_.policy.maxBytes) return true;
  if (!options_.policy.maxAge) return false;
  const long oldest = handle_.recordSessionTable()->getMinStartTime();
  return oldest >= 0 && oldest < now_ - *options_.policy.maxAge;
}

void RetentionRun::load(bool recording) {
  std::vector<RecordedSession> sessions = SessionCatalog(handle_, recording).read(std::nullopt);
  const std::set<unsigned int> open = options_.openSessions();
  openBytes_ = 0;
  openStart_ = now_;
  for (RecordedSession& session : sessions) {
    if (!isOurs(session)) continue;
    result_.keptBytes += session.bytes;
    if (session.isOpen() || open.contains(session.id)) {
      openBytes_ += session.bytes;
      openStart_ = std::min(openStart_, session.start);
    } else {
      candidates_.push_back({std::move(session), {}, false});
    }
  }
}

bool RetentionRun::isOurs(const RecordedSession& session) {
  if (KTRRemovalGuard::refusal(KTString(session.filePrefix), KTString(options_.directory)) ==
      nullptr) {
    return true;
  }
  if (strangers_.insert(session.id).second) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "session %u is not stored below %s: it is not counted, and kept",
                              session.id, options_.directory.c_str());
  }
  return false;
}

void RetentionRun::deletePieces(const FileSystemSpace& space) {
  while (!options_.stop()) {
    const std::string room = reasonForRoom(space);
    Candidate* candidate = oldest(!room.empty());
    if (candidate == nullptr) return explainUnmet(room);
    const bool old = isOld(candidate->pieces.back());
    if (!take(*candidate,
              old ? "older than " + DurationText::format(*options_.policy.maxAge) : room)) {
      return;
    }
  }
}

// What was deleted counts as free even while a player holds it open: a pass that waited for the
// file system to show it would delete without end.
std::string RetentionRun::reasonForRoom(const FileSystemSpace& space) const {
  const std::optional<uint64_t>& most = options_.policy.maxBytes;
  if (most && result_.keptBytes > *most) {
    return "the recorder holds " + ByteText::format(result_.keptBytes) + " of at most " +
           ByteText::format(*most);
  }
  if (result_.deletedBytes >= needed_) return "";
  if (!options_.dryRun && bytesToFree(options_.space(options_.directory)) == 0) return "";
  return ByteText::format(space.free + result_.deletedBytes) + " of the disk are free, " +
         ByteText::format(options_.policy.minFree.bytesOf(space.whole)) + " are to be";
}

RetentionRun::Candidate* RetentionRun::oldest(bool roomNeeded) {
  std::stable_sort(
      candidates_.begin(), candidates_.end(),
      [](const Candidate& a, const Candidate& b) { return a.session.start < b.session.start; });
  const auto found = std::find_if(candidates_.begin(), candidates_.end(),
                                  [&](Candidate& each) { return isEligible(each, roomNeeded); });
  return found == candidates_.end() ? nullptr : &*found;
}

bool RetentionRun::isEligible(Candidate& candidate, bool roomNeeded) {
  const bool makesRoom = roomNeeded && candidate.session.bytes != 0;
  if (!makesRoom && !options_.policy.maxAge) return false;
  const long youngest = makesRoom ? options_.policy.keepAtLeast : *options_.policy.maxAge;
  if (candidate.session.start >= now_ - youngest) return false;
  readPieces(candidate);
  if (candidate.pieces.empty()) return false;
  const StoredPiece& piece = candidate.pieces.back();
  return makesRoom ? piece.end < now_ - youngest : isOld(piece);
}

bool RetentionRun::isOld(const StoredPiece& piece) const {
  return options_.policy.maxAge && piece.end < now_ - *options_.policy.maxAge;
}

void RetentionRun::readPieces(Candidate& candidate) {
  if (std::exchange(candidate.known, true)) return;
  candidate.pieces = StoredPiece::of(candidate.session, handle_);
  std::reverse(candidate.pieces.begin(), candidate.pieces.end());
}

bool RetentionRun::take(Candidate& candidate, const std::string& reason) {
  const StoredPiece piece = candidate.pieces.back();
  if (!options_.dryRun && !erase(piece)) {
    result_.problem = piece.text() +
                      " could not be deleted: check the rights and the state of the disk, and see "
                      "the messages above";
    return false;
  }
  ++result_.deletions;
  result_.deletedBytes += piece.bytes;
  result_.keptBytes -= std::min(result_.keptBytes, piece.bytes);
  options_.report({piece, reason});
  candidate.session.bytes -= std::min(candidate.session.bytes, piece.bytes);
  candidate.pieces.pop_back();
  if (!candidate.pieces.empty()) candidate.session.start = candidate.pieces.back().start;
  return true;
}

// A session's row names its files, so that it stays until they are gone.
bool RetentionRun::erase(const StoredPiece& piece) {
  if (piece.slice) {
    return handle_.deleteOlderSlicesOfRecorderSession(piece.session) && !piece.isOnDisk();
  }
  handle_.deleteAllDataFiles(piece.session);  // step D4
  if (piece.isOnDisk()) return false;
  handle_.deleteStreamSession(piece.session);
  return true;
}

void RetentionRun::explainUnmet(const std::string& room) {
  if (room.empty()) return;
  result_.needsNewSessions = openBytes_ != 0 && openStart_ < now_ - options_.policy.keepAtLeast;
  result_.problem = room + ", and nothing more may be deleted: ";
  result_.problem += result_.needsNewSessions
                         ? "the rest is being recorded, and goes from the next slices on"
                         : "make room on the disk, or ask for less";
}

void RetentionRun::tidy() {
  if (options_.dryRun || result_.deletions == 0) return;
  if (handle_.recordSessionTable()->getMinStartTime() >= 0) handle_.deleteLostData();
  EmptyDays::removeBelow(options_.directory, now_);
}

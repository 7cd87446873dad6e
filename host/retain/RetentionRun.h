#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "handles/KTR_DB_handle.h"
#include "host/retain/FileSystemSpace.h"
#include "host/retain/RetentionPolicy.h"
#include "host/retain/StoredPiece.h"

/**
 * Makes a recorder keep no more than its policy says: deletes its oldest footage, one slice or
 * session at a time, until every goal is met, and not one piece more.
 *
 * What is younger than the least age, what is being recorded, and what does not lie in the
 * recorder's own directory is never touched. Day directories that are empty then are removed.
 *
 * Owns: nothing; the handle must outlive it.
 * Threads: one thread at a time for each object. Only the process that records a recorder, or any
 * while none does, may run a pass that deletes.
 * Blocks: for the server and the file system; between two pieces it asks whether to stop.
 * Errors: a piece that cannot be deleted ends the pass, which says so in its result. Throws a
 * failure when the file system does not answer or is smaller than what is to stay free on it.
 */
class RetentionRun {
 public:
  struct Deletion {
    StoredPiece piece;
    std::string reason;

    /** "deleted <piece>: 128.0 MiB: <reason>" */
    [[nodiscard]] std::string line() const;
  };

  struct Options {
    std::string directory;  ///< the recorder's; without a final "/"
    RetentionPolicy policy;
    bool dryRun = false;  ///< tell what would go, and change nothing
    std::function<FileSystemSpace(const std::string&)> space = FileSystemSpace::at;
    std::function<void(const Deletion&)> report = [](const Deletion&) {};
    std::function<bool()> stop = [] { return false; };
    /** Sessions that are open now; asked for after each look at the catalog. */
    std::function<std::set<unsigned int>()> openSessions = [] { return std::set<unsigned int>(); };
  };

  struct Result {
    uint64_t deletions = 0;
    uint64_t deletedBytes = 0;
    uint64_t keptBytes = 0;  ///< of the recorder; 0 when a look at its files was not needed
    std::string problem;     ///< one line "what is wrong: what to do"; empty when all is well
    bool needsNewSessions = false;  ///< only what is being recorded could still make room
  };

  RetentionRun(KTR_DB_handle& handle, Options options);

  /** recording: whether sessions of the recorder may be open now, in whatever process. */
  [[nodiscard]] Result pass(bool recording);

 private:
  /** A session with the pieces of it that are left. */
  struct Candidate {
    RecordedSession session;
    std::vector<StoredPiece> pieces;  // oldest last; read when first needed
    bool known = false;
  };

  [[nodiscard]] uint64_t bytesToFree(const FileSystemSpace& space) const;
  [[nodiscard]] bool isDue() const;
  void load(bool recording);
  [[nodiscard]] bool isOurs(const RecordedSession& session);
  void deletePieces(const FileSystemSpace& space);
  [[nodiscard]] std::string reasonForRoom(const FileSystemSpace& space) const;
  [[nodiscard]] Candidate* oldest(bool roomNeeded);
  [[nodiscard]] bool isEligible(Candidate& candidate, bool roomNeeded);
  [[nodiscard]] bool isOld(const StoredPiece& piece) const;
  void readPieces(Candidate& candidate);
  [[nodiscard]] bool take(Candidate& candidate, const std::string& reason);
  [[nodiscard]] bool erase(const StoredPiece& piece);
  void explainUnmet(const std::string& room);
  void tidy();

  KTR_DB_handle& handle_;
  const Options options_;
  std::set<unsigned int> strangers_;  // sessions elsewhere, which were told of

  // Of one pass.
  long now_ = 0;
  std::vector<Candidate> candidates_;
  uint64_t openBytes_ = 0;  // of sessions that are being recorded
  long openStart_ = 0;      // of the oldest of them
  uint64_t needed_ = 0;     // bytes to free for the file system
  Result result_;
};

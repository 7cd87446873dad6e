#pragma once

#include <cstdint>
#include <optional>
#include <string>

/** One thing in which the files and the tables of a recorder disagree, or that is damaged. */
struct Finding {
  enum Kind {
    NoDatabase,
    FilesWithoutRows,
    RowsWithoutFiles,
    IndexWithoutSession,
    TwoSessionsOneId,
    ThrownAway,
    HalfBorn,
    NoEndTime,
    WrongStart,
    WrongEnd,
    Unconfirmed,
    MarkedAsGone,
    WrongDirectory,
    NoSettings,
    NoAudioHeader,
    DamagedAudioHeader,
    MissingSlice,
    RowInMissingSlice,
    RowBehindEnd,
    RowInWrongSlice,
    RowAtNoRecord,
    RowWithWrongTime,
    FrameWithoutRow,
    TornTail,
    Garbage,
    Unreadable,
    Leftover
  };

  Kind kind = Garbage;
  unsigned int session = 0;  // 0: of no session
  std::optional<unsigned int> slice = {};
  std::optional<uint64_t> offset = {};  // in the slice, bytes; of the first when there are more
  uint64_t count = 1;                   // rows, frames, files
  uint64_t bytes = 0;
  std::string detail = {};  // what is not in the other fields: times, paths
  uint64_t removes = 0;     // of its index rows, those that repair can only remove

  /** "torn-tail" */
  [[nodiscard]] const char* name() const;
  /** What was found and where, one line: "session 7, slice 0 at 1234: ..." */
  [[nodiscard]] std::string text() const;
  /** What repair does about it, one line; empty when it can do nothing. */
  [[nodiscard]] const char* remedy() const;
  [[nodiscard]] bool operator==(const Finding&) const = default;
};

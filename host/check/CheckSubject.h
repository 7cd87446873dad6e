#pragma once

#include <optional>

#include "host/check/RecorderTables.h"
#include "host/check/SessionFiles.h"

/** How closely a recorder is looked at; each level holds the ones before it. */
enum class CheckLevel {
  Files,  ///< existence and sizes
  Index,  ///< every index row, and start and end of sessions
  Full    ///< every record of every slice
};

/** What is known of a session before its files are opened. No state of its own. */
struct CheckSubject {
  unsigned int id = 0;
  std::optional<RecorderTables::Session> row;
  const SessionFiles* files = nullptr;  // null: none
  bool live = false;  // may be written right now: what is not flushed is nobody's fault
  bool audio = false;
  bool hasSettings = true;
  bool wrongDirectory = false;       // the row says another one than the files lie in
  bool thrownAway = false;           // files without a row, of a window that nothing has confirmed
  std::optional<long> sharedSecond;  // an earlier session of the stream ended in it and has its row

  [[nodiscard]] bool hasContent() const { return files != nullptr && files->hasContent(); }
};

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "handles/KTR_DB_handle.h"
#include "host/FileSizes.h"

/** One recorded session, as people want to know it. */
struct RecordedSession {
  enum State {
    Recording,  ///< being recorded now
    PreEvent,   ///< the window of a recording by events, which waits for one
    Stored,
    Unconfirmed,  ///< such a window that was left behind
    Deleted       ///< only its row is left
  };

  unsigned int id = 0;
  unsigned int stream = 0;
  std::string kind;        ///< "video", "audio", or "unknown" when its settings are gone
  std::string codec;       ///< as libavcodec calls it
  std::string format;      ///< "1280x720", "16000 Hz"
  unsigned int fps = 0;    ///< frames per second; 0 when unknown
  long start = 0;          ///< seconds
  long end = 0;            ///< seconds
  uint64_t bytes = 0;      ///< on disk
  std::string filePrefix;  ///< what the paths of all its files begin with
  State state = Stored;

  [[nodiscard]] long seconds() const { return end - start; }
  [[nodiscard]] bool isOpen() const { return state == Recording || state == PreEvent; }
  [[nodiscard]] const char* stateName() const;
};

/**
 * Reads what a recorder has recorded from its database and its files.
 *
 * Threads: one thread at a time for each object.
 * Blocks: for the server and the file system.
 * Errors: what cannot be read is left out or stays at its default.
 */
class SessionCatalog {
 public:
  /** isRecording: whether a process records this recorder now. */
  SessionCatalog(KTR_DB_handle& handle, bool isRecording)
      : handle_(handle), isRecording_(isRecording) {}

  /** By stream, then by start; of one stream when it is given. */
  [[nodiscard]] std::vector<RecordedSession> read(std::optional<unsigned char> stream);

 private:
  [[nodiscard]] std::optional<RecordedSession> parseEntry(const KTString& entry);
  void readSettings(unsigned int settingsId, RecordedSession& session);
  void markRecording(std::vector<RecordedSession>& sessions) const;

  KTR_DB_handle& handle_;
  bool isRecording_;
  FileSizes files_;
};

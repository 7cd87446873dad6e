#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/system/UniqueFd.h"

/**
 * The way by which another process confirms an event to the one that records: a named pipe in the
 * recorder's directory, one line a confirmation, written in one piece. It is there while a recorder
 * is recorded by events; one that a crash has left has no reader, and so nobody writes to it.
 *
 * Owns: the pipe and its name.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: a failure when the pipe cannot be made.
 */
class ConfirmPipe {
 public:
  /** What is confirmed: one stream, or nothing for all of the recorder. */
  using Confirmation = std::optional<unsigned char>;

  /** Makes the pipe, for the process that holds the recorder's lock. */
  explicit ConfirmPipe(const std::string& recorderDirectory);
  ConfirmPipe(const ConfirmPipe&) = delete;
  ConfirmPipe& operator=(const ConfirmPipe&) = delete;
  ~ConfirmPipe();

  /** What has come since the last call. */
  [[nodiscard]] std::vector<Confirmation> take();

  /** Whether there is somebody to confirm to, and it was done. */
  [[nodiscard]] static bool send(const std::string& recorderDirectory, Confirmation what);

 private:
  const std::string path_;
  UniqueFd pipe_;
  std::string unread_;
};

#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

#include "runtime/KTLogSink.h"

/**
 * What the library logs, for a person at a terminal: warnings and errors on standard error, one
 * line each, "ktr: HH:MM:SS warning: ...". Information, and the warnings that every recording
 * causes, only when asked for.
 *
 * Owns: nothing; the stream must outlive it.
 * Threads: write() from any thread.
 * Blocks: for the stream.
 */
class HostLogSink : public KTLogSink {
 public:
  HostLogSink(std::ostream& out, bool verbose) : out_(out), verbose_(verbose) {}

  void write(int priority, std::string_view line) override;

  /** What stands before every line, such as "\r\033[K" to clear a progress line; empty at first. */
  void setLinePrefix(std::string_view prefix);

 private:
  [[nodiscard]] bool wanted(int priority, std::string_view line) const;

  std::mutex mutex_;
  std::ostream& out_;
  const bool verbose_;
  std::string prefix_;
};

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "host/record/StreamRecorder.h"
#include "runtime/KTClock.h"

/**
 * Shows how a recording goes: one line that is drawn over and over on a terminal, a plain line for
 * each stream every ten seconds elsewhere, and a summary at the end.
 *
 * Owns: nothing; the stream must outlive it.
 * Threads: one thread at a time for each object.
 * Blocks: for the output.
 */
class RecordDisplay {
 public:
  /** What stands before a log line while a progress line is drawn. */
  static constexpr const char* CLEAR_LINE = "\r\033[K";

  struct Stream {
    unsigned int number = 0;
    StreamRecorder::Status status;
  };

  RecordDisplay(std::ostream& out, bool terminal);

  /** Draws or prints what is due. */
  void update(const std::vector<Stream>& streams);
  /** Prints a line about a stream that has failed. */
  void error(unsigned int stream, const std::string& text);
  /** Prints what was recorded; nothing of a stream that failed before its first frame. */
  void summary(const std::vector<Stream>& streams);

  /** "0:01:05" */
  [[nodiscard]] static std::string elapsedText(KTClock::Span elapsed);
  /** "4.1 Mbit/s" */
  [[nodiscard]] static std::string bitrateText(std::uint64_t bytes, KTClock::Span time);

 private:
  [[nodiscard]] std::string lineOf(const SessionFeed::Progress& progress, KTClock::Span now);
  void print(const std::string& text);
  void drawLine(const std::vector<Stream>& streams, KTClock::Span now);
  void printLines(const std::vector<Stream>& streams, KTClock::Span now);

  std::ostream& out_;
  const bool terminal_;
  const KTClock::Span start_;
  KTClock::Span nextPrint_;
};

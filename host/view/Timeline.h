#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

/**
 * What is recorded of each stream as a picture of text: a line per stream over a common time axis,
 * "#" where all is recorded, "+" where part is, "." where nothing is; and a line with a "!"
 * wherever an event is, when there are any.
 *
 * Units: seconds since the epoch.
 * Threads: one thread at a time for each object.
 */
class Timeline {
 public:
  /** Sessions follow one another within this time without a gap that a person would miss. */
  static constexpr long JOINED_GAP_SECONDS = 2;

  /** Adds a recording of a stream; one without length counts as a second. */
  void add(unsigned int stream, long start, long end);
  /** Adds a mark; one outside the recordings is not shown. */
  void addEvent(long time) { events_.push_back(time); }
  /** Prints nothing when no recording was added. */
  void print(std::ostream& out, unsigned int width) const;

 private:
  struct Span {
    long start;
    long end;
  };

  [[nodiscard]] static std::string bar(const std::vector<Span>& joined, const class TimeAxis& axis);
  [[nodiscard]] static std::vector<Span> joined(std::vector<Span> spans);
  [[nodiscard]] Span whole() const;
  [[nodiscard]] std::string eventRow(const class TimeAxis& axis) const;

  std::map<unsigned int, std::vector<Span>> streams_;
  std::vector<long> events_;
};

#pragma once

#include <cstdint>
#include <string>
#include <vector>

/**
 * The scale of a timeline: which seconds each column of text stands for, and where round times lie.
 *
 * Units: seconds since the epoch; labels are local time.
 * Threads: any thread; does not change.
 */
class TimeAxis {
 public:
  /** From begin to end, at least one second, over so many columns. */
  TimeAxis(long begin, long end, unsigned int columns);

  [[nodiscard]] long begin() const { return begin_; }
  [[nodiscard]] long end() const { return end_; }
  [[nodiscard]] unsigned int columns() const { return columns_; }
  /** The time at the left edge of a column; of column columns() it is the end. */
  [[nodiscard]] double edge(unsigned int column) const;

  /** The line of labels; each begins above the column of its time. */
  [[nodiscard]] std::string labels() const;
  /** The line of marks under the labels. */
  [[nodiscard]] std::string marks() const;

 private:
  struct Tick {
    unsigned int column;
    std::string label;
  };

  [[nodiscard]] std::vector<Tick> ticks() const;
  [[nodiscard]] std::int64_t chooseStep() const;
  [[nodiscard]] const char* labelFormat(std::int64_t step) const;
  [[nodiscard]] bool isWithinOneDay() const;

  long begin_;
  long end_;
  unsigned int columns_;
};

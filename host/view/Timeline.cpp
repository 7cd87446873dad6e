#include "host/view/Timeline.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>

#include "host/input/TimeText.h"
#include "host/view/TimeAxis.h"

namespace {

constexpr unsigned int LABEL_WIDTH = 12;  // "stream 128  "
constexpr unsigned int LEAST_COLUMNS = 20;

char sign(double covered, double length) {
  constexpr double tolerance = 1e-6;
  if (covered >= length - tolerance) return '#';
  return covered > tolerance ? '+' : '.';
}

std::string heading(const TimeAxis& axis) {
  const std::string first = TimeText::format(axis.begin());
  const std::string last = TimeText::format(axis.end());
  return first + " to " + last + ", local time (UTC" + TimeText::format(axis.begin(), "%z") + ")";
}

}  // namespace

void Timeline::add(unsigned int stream, long start, long end) {
  streams_[stream].push_back({start, std::max(end, start + 1)});
}

std::vector<Timeline::Span> Timeline::joined(std::vector<Span> spans) {
  std::sort(spans.begin(), spans.end(),
            [](const Span& a, const Span& b) { return a.start < b.start; });
  std::vector<Span> result;
  for (const Span& span : spans) {
    if (!result.empty() && span.start - result.back().end <= JOINED_GAP_SECONDS) {
      result.back().end = std::max(result.back().end, span.end);
    } else {
      result.push_back(span);
    }
  }
  return result;
}

Timeline::Span Timeline::whole() const {
  Span all = streams_.begin()->second.front();
  for (const auto& [stream, spans] : streams_) {
    for (const Span& span : spans) {
      all.start = std::min(all.start, span.start);
      all.end = std::max(all.end, span.end);
    }
  }
  return all;
}

std::string Timeline::bar(const std::vector<Span>& joined, const TimeAxis& axis) {
  std::string text;
  for (unsigned int column = 0; column < axis.columns(); ++column) {
    const double left = axis.edge(column);
    const double right = axis.edge(column + 1);
    double covered = 0;
    for (const Span& span : joined) {
      covered += std::max(0.0, std::min(right, static_cast<double>(span.end)) -
                                   std::max(left, static_cast<double>(span.start)));
    }
    text += sign(covered, right - left);
  }
  return text;
}

/** Marks of the events on the axis; empty without one. */
std::string Timeline::eventRow(const TimeAxis& axis) const {
  std::string row(axis.columns(), ' ');
  bool any = false;
  for (const long time : events_) {
    if (time < axis.begin() || time > axis.end()) continue;
    const auto column = static_cast<unsigned int>(std::int64_t{time - axis.begin()} *
                                                  axis.columns() / (axis.end() - axis.begin()));
    row[std::min(column, axis.columns() - 1)] = '!';
    any = true;
  }
  return any ? row.substr(0, row.find_last_of('!') + 1) : "";
}

void Timeline::print(std::ostream& out, unsigned int width) const {
  if (streams_.empty()) return;
  const Span all = whole();
  const unsigned int columns = std::max(width, LABEL_WIDTH + LEAST_COLUMNS) - LABEL_WIDTH;
  const TimeAxis axis(all.start, all.end, columns);
  const std::string indent(LABEL_WIDTH, ' ');
  out << heading(axis) << "\n" << indent << axis.labels() << "\n" << indent << axis.marks() << "\n";
  for (const auto& [stream, spans] : streams_) {
    out << "stream " << std::right << std::setw(3) << stream << "  " << bar(joined(spans), axis)
        << "\n";
  }
  const std::string marks = eventRow(axis);
  if (!marks.empty()) out << "events      " << marks << "\n";
  out << indent << "# recorded   + in part   . nothing" << (marks.empty() ? "" : "   ! event")
      << "\n";
}

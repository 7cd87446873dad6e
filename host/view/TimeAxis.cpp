#include "host/view/TimeAxis.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "host/input/TimeText.h"

namespace {

constexpr long MINUTE = 60;
constexpr long HOUR = 3600;
constexpr long DAY = 86400;
constexpr std::array<long, 19> STEPS{1,           2,           5,          10,         15,
                                     30,          MINUTE,      2 * MINUTE, 5 * MINUTE, 10 * MINUTE,
                                     15 * MINUTE, 30 * MINUTE, HOUR,       2 * HOUR,   3 * HOUR,
                                     6 * HOUR,    12 * HOUR,   DAY,        7 * DAY};

long utcOffset(long time) {
  const time_t seconds = time;
  tm parts{};
  localtime_r(&seconds, &parts);
  return parts.tm_gmtoff;
}

}  // namespace

TimeAxis::TimeAxis(long begin, long end, unsigned int columns)
    : begin_(begin), end_(std::max(end, begin + 1)), columns_(std::max(columns, 1U)) {}

double TimeAxis::edge(unsigned int column) const {
  return static_cast<double>(begin_) +
         static_cast<double>(end_ - begin_) * column / static_cast<double>(columns_);
}

bool TimeAxis::isWithinOneDay() const {
  return TimeText::format(begin_, "%F") == TimeText::format(end_, "%F");
}

const char* TimeAxis::labelFormat(std::int64_t step) const {
  if (step >= DAY) return "%m-%d";
  if (!isWithinOneDay()) return step < MINUTE ? "%m-%d %H:%M:%S" : "%m-%d %H:%M";
  return step < MINUTE ? "%H:%M:%S" : "%H:%M";
}

std::int64_t TimeAxis::chooseStep() const {
  const double columnSeconds = static_cast<double>(end_ - begin_) / static_cast<double>(columns_);
  const auto fits = [&](std::int64_t step) {
    const auto room = static_cast<double>(TimeText::format(begin_, labelFormat(step)).size() + 2);
    return static_cast<double>(step) >= room * columnSeconds;
  };
  const auto* found = std::find_if(STEPS.begin(), STEPS.end(), fits);
  if (found != STEPS.end()) return *found;
  std::int64_t step = STEPS.back();
  while (!fits(step)) step *= 2;
  return step;
}

std::vector<TimeAxis::Tick> TimeAxis::ticks() const {
  const std::int64_t step = chooseStep();
  const std::int64_t offset =
      utcOffset(begin_);  // round in local time, so that days begin at midnight
  std::vector<Tick> ticks;
  for (std::int64_t time = (begin_ + offset + step - 1) / step * step - offset; time < end_;
       time += step) {
    const auto column =
        static_cast<unsigned int>((time - begin_) * std::int64_t{columns_} / (end_ - begin_));
    ticks.push_back({column, TimeText::format(static_cast<long>(time), labelFormat(step))});
  }
  return ticks;
}

std::string TimeAxis::labels() const {
  std::string line;
  for (const Tick& tick : ticks()) {
    if (tick.column + tick.label.size() > columns_) continue;
    line.resize(tick.column, ' ');
    line += tick.label;
  }
  return line;
}

std::string TimeAxis::marks() const {
  std::string line(columns_, '-');
  for (const Tick& tick : ticks()) line[tick.column] = '|';
  return line;
}

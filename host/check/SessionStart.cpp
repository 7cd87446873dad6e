#include "host/check/SessionStart.h"

#include <sys/stat.h>

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <vector>

#include "host/check/SessionWalk.h"
#include "host/play/StampUnwrapper.h"

namespace {

constexpr long DAY = 86400;
// A day directory may be named in another time zone, and a frame lie just beyond midnight.
constexpr long FARTHEST_FROM_NOON = DAY / 2 + 14L * 3600 + 600;
constexpr long LONGEST_SESSION = 60 * DAY;  // that a file's time is believed
constexpr long ROW_TOLERANCE = 60;  // the header of sound may come that long before its frames
constexpr long FILE_TIME_TOLERANCE = 3600;

/** The first slice with a frame; its first frame as on 2 January 1970. */
struct FirstSlice {
  unsigned int number = 0;
  long first = 0;
  long written = 0;
  bool isOldest = false;  // nothing was deleted in front of it
};

/** The time of day of the first frame whose stamp is not stray. */
std::optional<long> firstOf(const std::string& path) {
  constexpr size_t enough = 3;
  constexpr long close = 10;
  std::vector<long> times;
  SliceScanner scanner(path);
  StampUnwrapper clock;
  clock.restart(DAY);
  for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
    if (item != SliceScanner::Record) continue;
    times.push_back(static_cast<long>(clock.unwrap(scanner.record().stampMs) / 1000));
    if (times.size() == enough) break;
  }
  if (times.empty()) return std::nullopt;
  const bool stray = times.size() == enough && std::labs(times[0] - times[1]) > close &&
                     std::labs(times[1] - times[2]) <= close;
  return times[stray ? 1 : 0];
}

std::optional<FirstSlice> firstSliceOf(const SessionFiles& files) {
  for (const unsigned int slice : files.chain()) {
    const std::optional<long> first = firstOf(files.slicePath(slice));
    if (!first) continue;
    struct stat file {};
    const bool found = stat(files.slicePath(slice).c_str(), &file) == 0;
    return FirstSlice{slice, *first, found ? file.st_mtime : 0, slice == 0};
  }
  return std::nullopt;
}

/** How long a slice is, from its first to its last frame. */
long secondsOf(const SessionFiles& files, const FirstSlice& slice) {
  long last = slice.first;
  SessionWalk walk(files, slice.first);
  walk.walk(slice.number, [&](const SessionWalk::Frame& frame) {
    if (!frame.strayStamp) last = frame.seconds();
  });
  return last - slice.first;
}

/** The time of day of the first frame on the day on which it is nearest to a time. */
long nearest(const FirstSlice& slice, long time) {
  StampUnwrapper clock;
  clock.restart(time);
  return static_cast<long>(clock.unwrap(static_cast<uint32_t>(slice.first % DAY * 1000)) / 1000);
}

/** What digits alone say. */
std::optional<int> numberIn(std::string_view digits) {
  int number = 0;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool whole = parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size();
  return whole && digits[0] != '-' ? std::optional(number) : std::nullopt;
}

bool fits(std::optional<long> noon, long time) {
  return !noon || std::labs(time - *noon) <= FARTHEST_FROM_NOON;
}

// The day on which the slice ends when its file was written last, or else the directory's own.
long fromDirectory(const SessionFiles& files, const FirstSlice& slice, long noon) {
  const long length = secondsOf(files, slice);
  for (const long day : {0L, -DAY, DAY}) {
    const long start = nearest(slice, noon + day);
    if (fits(noon, start) && std::labs(slice.written - start - length) <= FILE_TIME_TOLERANCE) {
      return start;
    }
  }
  return nearest(slice, noon);
}

// What is left of a session that has lost its oldest slices may have been recorded days later.
long fromFileTime(const FirstSlice& slice, std::optional<long> noon) {
  const bool plausible =
      !noon || (slice.written >= *noon - DAY && slice.written <= *noon + LONGEST_SESSION);
  return nearest(slice, plausible ? slice.written : *noon);
}

}  // namespace

std::optional<long> SessionStart::noonOf(const std::string& directory) {
  constexpr std::string_view like = "/2026/01/31/";
  if (directory.size() < like.size()) return std::nullopt;
  const std::string_view date = std::string_view(directory).substr(directory.size() - like.size());
  const std::optional<int> year = numberIn(date.substr(1, 4));
  const std::optional<int> month = numberIn(date.substr(6, 2));
  const std::optional<int> dayOfMonth = numberIn(date.substr(9, 2));
  const bool parted = date[0] == '/' && date[5] == '/' && date[8] == '/' && date[11] == '/';
  if (!parted || !year || !month || !dayOfMonth) return std::nullopt;
  std::tm day{};
  day.tm_year = *year - 1900;
  day.tm_mon = *month - 1;
  day.tm_mday = *dayOfMonth;
  day.tm_hour = 12;
  day.tm_isdst = -1;
  const time_t noon = std::mktime(&day);
  return noon < 0 ? std::nullopt : std::optional<long>(noon);
}

std::optional<long> SessionStart::of(const SessionFiles& files, const Witnesses& witnesses) {
  const std::optional<FirstSlice> slice = firstSliceOf(files);
  if (!slice) return std::nullopt;
  const std::optional<long> noon = noonOf(files.directory());
  const std::optional<long> bound = slice->isOldest ? noon : std::nullopt;
  const long byRow = nearest(*slice, witnesses.rowStart);
  if (witnesses.rowStart != 0 && std::labs(byRow - witnesses.rowStart) <= ROW_TOLERANCE &&
      fits(bound, byRow)) {
    return byRow;
  }
  if (witnesses.firstIndexed) {
    const long byIndex = nearest(*slice, *witnesses.firstIndexed);
    if (fits(bound, byIndex)) return byIndex;
  }
  if (bound) return fromDirectory(files, *slice, *bound);
  return witnesses.rowStart != 0 ? byRow : fromFileTime(*slice, noon);
}

#include "host/input/TimeText.h"

#include <array>
#include <ctime>
#include <optional>

#include "host/HostError.h"
#include "host/input/AsciiText.h"
#include "host/input/DurationText.h"
#include "host/media/SteadyClock.h"

namespace {

/** The number in digits characters at offset; looksLike() has found digits there. */
int field(const std::string& text, size_t offset, size_t digits) {
  return static_cast<int>(*parseDigits(std::string_view(text).substr(offset, digits)));
}

/** Whether text has a digit where pattern has '0' and the same character everywhere else. */
bool looksLike(const std::string& text, std::string_view pattern) {
  if (text.size() != pattern.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (pattern[i] == '0' ? !isAsciiDigit(text[i]) : text[i] != pattern[i]) return false;
  }
  return true;
}

bool isTimeOfDay(const std::string& text) {
  return looksLike(text, "00:00") || looksLike(text, "00:00:00");
}

bool readTimeOfDay(const std::string& text, tm& parts) {
  parts.tm_hour = field(text, 0, 2);
  parts.tm_min = field(text, 3, 2);
  parts.tm_sec = text.size() > 5 ? field(text, 6, 2) : 0;
  parts.tm_isdst = -1;
  return parts.tm_hour < 24 && parts.tm_min < 60 && parts.tm_sec < 60;
}

int daysOf(int year, int month) {
  constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return days.at(static_cast<size_t>(month - 1)) + (month == 2 && leap ? 1 : 0);
}

bool readDate(const std::string& text, tm& parts) {
  const int year = field(text, 0, 4);
  const int month = field(text, 5, 2);
  const int day = field(text, 8, 2);
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  return month >= 1 && month <= 12 && day >= 1 && day <= daysOf(year, month);
}

std::optional<long> parseDateAndTime(std::string text) {
  const bool utc = !text.empty() && text.back() == 'Z';
  if (utc) text.pop_back();
  constexpr size_t dateLength = 10;
  if (text.size() <= dateLength || !looksLike(text.substr(0, dateLength), "0000-00-00") ||
      (text[dateLength] != ' ' && text[dateLength] != 'T') ||
      !isTimeOfDay(text.substr(dateLength + 1))) {
    return std::nullopt;
  }
  tm parts{};
  if (!readDate(text, parts) || !readTimeOfDay(text.substr(dateLength + 1), parts)) {
    return std::nullopt;
  }
  return utc ? timegm(&parts) : mktime(&parts);
}

std::optional<long> parseTimeOfDay(const std::string& text, long now) {
  if (!isTimeOfDay(text)) return std::nullopt;
  const time_t today = now;
  tm parts{};
  localtime_r(&today, &parts);
  if (!readTimeOfDay(text, parts)) return std::nullopt;
  return mktime(&parts);
}

std::optional<long> parseBeforeNow(const std::string& text, long now) {
  if (text.size() < 2 || text.front() != '-') return std::nullopt;
  return now - DurationText::parse(text.substr(1));
}

std::optional<long> parseAny(const std::string& text, long now) {
  if (text == "now") return now;
  if (const auto time = parseBeforeNow(text, now)) return time;
  if (const auto time = parseDigits(text)) return time;
  if (const auto time = parseTimeOfDay(text, now)) return time;
  return parseDateAndTime(text);
}

}  // namespace

long TimeText::parse(const std::string& text, long now) {
  const std::optional<long> time = parseAny(text, now);
  if (!time || *time < 0 || *time > LAST) {
    throw usageError("'" + text + "' is not a time",
                     "give \"YYYY-MM-DD HH:MM:SS\" (with a final Z for UTC), HH:MM for today, now, "
                     "-5m for five minutes ago, or epoch seconds below 2147483648");
  }
  return *time;
}

long TimeText::parse(const std::string& text) {
  return parse(text, SteadyClock::wall().tv_sec);
}

std::string TimeText::format(long time) {
  return format(time, "%Y-%m-%d %H:%M:%S");
}

std::string TimeText::format(long time, const char* conversions) {
  const time_t seconds = time;
  tm parts{};
  localtime_r(&seconds, &parts);
  std::array<char, 128> text{};
  return {text.data(), strftime(text.data(), text.size(), conversions, &parts)};
}

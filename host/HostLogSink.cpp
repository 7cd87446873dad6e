#include "host/HostLogSink.h"

#include <algorithm>

#include "host/input/TimeText.h"
#include "host/media/SecretText.h"
#include "host/media/SteadyClock.h"
#include "runtime/KTLogger.h"

namespace {

// Beginnings of warnings that every recording causes: the write buffer grows in its first seconds,
// and a reader reaches the end of a slice and of the recording.
constexpr std::string_view USUAL[] = {
    "VERY BAD! DO Resize of the WriteBuffer",
    "[ readKTRData ] Trace - Jump to new file",
    "[ readKTRData ] No more data availaible",
};

bool isUsual(std::string_view line) {
  return std::any_of(std::begin(USUAL), std::end(USUAL),
                     [&](std::string_view beginning) { return line.starts_with(beginning); });
}

const char* levelOf(int priority) {
  if (priority >= KTLogger::Error) return "error";
  return priority >= KTLogger::Warning ? "warning" : "info";
}

std::string onOneLine(std::string_view line) {
  std::string text(line);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
  return text;
}

}  // namespace

bool HostLogSink::wanted(int priority, std::string_view line) const {
  if (verbose_) return true;
  return priority >= KTLogger::Warning && !isUsual(line);
}

void HostLogSink::write(int priority, std::string_view line) {
  if (!wanted(priority, line)) return;
  const std::string time = TimeText::format(SteadyClock::wall().tv_sec, "%H:%M:%S");
  const std::lock_guard lock(mutex_);
  out_ << prefix_ << "ktr: " << time << " " << levelOf(priority) << ": "
       << SecretText::ofMessage(onOneLine(line)) << std::endl;
}

void HostLogSink::setLinePrefix(std::string_view prefix) {
  const std::lock_guard lock(mutex_);
  prefix_ = prefix;
}

#include "tests/crash/SentFrames.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr std::int64_t DAY_MS = 86'400'000;

// Of two times of day; none is half a day from another.
std::int64_t difference(std::int64_t later, std::int64_t earlier) {
  std::int64_t span = later - earlier;
  if (span > DAY_MS / 2) span -= DAY_MS;
  if (span < -DAY_MS / 2) span += DAY_MS;
  return span;
}

std::int64_t stampOf(const std::string& line) {
  return std::stoll(line);
}

std::vector<std::string> linesOf(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::int64_t SentFrames::nowMs() {
  using std::chrono::milliseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<milliseconds>(now).count() % DAY_MS;
}

size_t SentFrames::playedSince(std::int64_t stampMs, const std::string& playedLog) {
  const std::vector<std::string> lines = linesOf(playedLog);
  return static_cast<size_t>(std::count_if(
      lines.begin(), lines.end(),
      [&](const std::string& line) { return difference(stampOf(line), stampMs) >= 0; }));
}

void SentFrames::add(const std::string& frameLog, std::optional<End> killed) {
  bool begun = false;  // with a key frame
  for (const std::string& line : linesOf(frameLog)) {
    std::istringstream text(line);
    std::int64_t stamp = 0;
    std::string kind;
    text >> stamp >> kind;
    begun = begun || kind != "delta";
    const bool old = !killed || difference(killed->killedMs, stamp) > killed->promisedMs;
    frames_.push_back({line, stamp, begun && old});
  }
}

std::string SentFrames::compare(const std::string& playedLog, Lacking mayLack) const {
  bool begun = mayLack != Oldest;  // what is promised must be there
  const auto isMissed = [&](const Frame& each) { return each.promised && begun; };
  auto next = frames_.begin();
  for (const std::string& line : linesOf(playedLog)) {
    const auto found =
        std::find_if(next, frames_.end(), [&](const Frame& each) { return each.line == line; });
    if (found == frames_.end()) return "played, and not sent, or in another order: " + line;
    const auto lost = std::find_if(next, found, isMissed);
    if (lost != found) return "sent, and not played: " + lost->line + " before " + line;
    next = found + 1;
    begun = true;
  }
  if (mayLack == Newest) return "";
  const auto lost = std::find_if(next, frames_.end(), isMissed);
  if (lost == frames_.end()) return "";
  const auto others = std::count_if(lost, frames_.end(), [](const Frame& f) { return f.promised; });
  return "sent, and not played: " + lost->line + " and " + std::to_string(others - 1) +
         " behind it";
}

void SentFrames::promiseOnly(const std::vector<std::pair<std::int64_t, std::int64_t>>& spans) {
  for (Frame& frame : frames_) {
    frame.promised =
        frame.promised && std::any_of(spans.begin(), spans.end(), [&](const auto& span) {
          return difference(frame.stampMs, span.first) >= 0 &&
                 difference(span.second, frame.stampMs) > 0;
        });
  }
}

size_t SentFrames::promised() const {
  return static_cast<size_t>(std::count_if(frames_.begin(), frames_.end(),
                                           [](const Frame& each) { return each.promised; }));
}
